#!/usr/bin/python3
"""Plays bluetoothd on the system's bus, as a test commands.

Its commands are the functions called do_... here. Paths are below /org/bluez.
"""
import dbus
import dbus.mainloop.glib

import commands
from bluez_adapter import ADVERTISEMENT, Adapter, AgentManager, ROOT, advertisements, applications
from bluez_device import CHARACTERISTIC, Characteristic, Device, GATT_SERVICE
from bus_values import from_bus, octets
from exported import Exported, Tree

SERVICE = 'org.bluez'


def do_adapter(name, **properties):
    Adapter(tree, name, properties)


def do_device(path, **properties):
    Device(tree, ROOT + '/' + path, properties)


def do_service(path, **properties):
    Exported(tree, ROOT + '/' + path, GATT_SERVICE, properties)


def do_characteristic(path, **properties):
    Characteristic(tree, ROOT + '/' + path, properties)


def do_remove(path):
    tree.objects[ROOT + '/' + path].remove()


def do_change(path, **properties):
    tree.objects[ROOT + '/' + path].change(properties)


def do_set(path, **properties):
    """Changes properties without a signal."""
    tree.objects[ROOT + '/' + path].set(properties)


def do_fail(method, leaves=None, **fault):
    """Plans the next call of the method, or as many as "times" gives: it ends in an "error", after a
    "delay" in ms, or "never". With "leaves", a device disconnects just before. A delay alone makes the call
    late. An "idle" call is answered, but does nothing."""
    if leaves is not None:
        fault['before'] = lambda: do_change(leaves, Connected=False)
    tree.faults.plan(method, **fault)


def do_calls():
    """All calls since the last time: each the method's name, the object's path, and what was given."""
    return tree.faults.take_calls()


def do_advertisements():
    """The properties of all that is advertised, by its path."""
    return {path: from_bus(properties) for path, (_, properties) in advertisements.items()}


def do_applications():
    """All objects of the GATT services that programs have registered, by their paths."""
    return {path: {name: from_bus(properties) for name, properties in interfaces.items()}
            for _, managed in applications.values() for path, interfaces in managed.items()}


def do_peer(method, characteristic, value=None, **options):
    """Calls a program's characteristic on behalf of a device, and returns what that returns."""
    sender = next(sender for sender, managed in applications.values() if characteristic in managed)
    if 'device' in options:
        options['device'] = dbus.ObjectPath(ROOT + '/' + options['device'])
    for name in 'offset', 'mtu':
        if name in options:
            options[name] = dbus.UInt16(options[name])
    given = [] if value is None else [octets(bytes.fromhex(value))]
    if method in ('ReadValue', 'WriteValue', 'AcquireNotify'):
        given.append(dbus.Dictionary(options, signature='sv'))
    signature = {'ReadValue': 'a{sv}', 'WriteValue': 'aya{sv}', 'AcquireNotify': 'a{sv}'}.get(method, '')
    try:
        return {'value': from_bus(bus.call_blocking(sender, characteristic, CHARACTERISTIC, method, signature, given))}
    except dbus.DBusException as failure:
        return {'error': failure.get_dbus_name()}


def do_pair(method, device, signature='o', given=()):
    """Calls the agent about a device, and returns the error, or an empty text."""
    sender, path = agents.agent
    try:
        bus.call_blocking(sender, path, 'org.bluez.Agent1', method, signature,
                          [dbus.ObjectPath(ROOT + '/' + device), *given])
    except dbus.DBusException as failure:
        return failure.get_dbus_name()
    return ''


def do_sender():
    """The program whose services are registered."""
    return next(sender for sender, _ in applications.values())


def do_foreign(sender, path):
    """Reads a characteristic as a program that is not bluetoothd."""
    try:
        bus.call_blocking(sender, path, CHARACTERISTIC, 'ReadValue', 'a{sv}', [dbus.Dictionary({}, signature='sv')])
    except dbus.DBusException as failure:
        return failure.get_dbus_name()
    return ''


def do_release(path):
    """Ends an advertisement, as bluetoothd does when it has to."""
    sender, _ = advertisements.pop(path)
    bus.call_async(sender, path, ADVERTISEMENT, 'Release', '', (), lambda: None, lambda error: None)


def do_leave():
    """The name is given up, as when bluetoothd ends."""
    bus.release_name(SERVICE)
    for one in list(tree.objects.values()):
        if one.path in tree.objects:
            one.remove()


def do_come():
    bus.request_name(SERVICE)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
tree = Tree(bus)
agents = AgentManager(tree)
bus.request_name(SERVICE)
commands.serve(bus, globals())
