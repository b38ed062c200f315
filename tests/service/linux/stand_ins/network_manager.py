#!/usr/bin/python3
"""Plays NetworkManager on the system's bus, as a test commands; or wpa_supplicant without it.

Its commands are the functions called do_... here.
"""
import dbus
import dbus.mainloop.glib

import commands
from exported import Exported, Tree

SERVICE = 'org.freedesktop.NetworkManager'
ROOT = '/org/freedesktop'
MAIN = ROOT + '/NetworkManager'
DEVICE = SERVICE + '.Device'
WIRELESS = DEVICE + '.Wireless'
ACCESS_POINT = SERVICE + '.AccessPoint'
SUPPLICANT = 'fi.w1.wpa_supplicant1'


class Device(Exported):
    """A device for Wi-Fi, which has the properties of two interfaces."""

    def __init__(self, tree, path, properties):
        self.wireless = {'ActiveAccessPoint': dbus.ObjectPath('/')}
        super().__init__(tree, path, DEVICE, properties)

    def interfaces(self):
        return {**super().interfaces(), WIRELESS: dbus.Dictionary(self.wireless, signature='sv')}

    def connect(self, access_point):
        self.wireless = {'ActiveAccessPoint': dbus.ObjectPath(access_point)}
        self.PropertiesChanged(WIRELESS, self.wireless, [])
        self.change({'State': 30 if access_point == '/' else 100})


def do_come(version='1.42.4', enabled=True, hardware=True):
    """It starts."""
    Exported(tree, MAIN, SERVICE, {'Version': version, 'WirelessEnabled': enabled,
                                   'WirelessHardwareEnabled': hardware})
    bus.request_name(SERVICE)


def do_leave():
    """It ends."""
    bus.release_name(SERVICE)
    for one in list(tree.objects.values()):
        one.remove()


def do_device(interface, managed=True):
    Device(tree, MAIN + '/Devices/' + interface, {
        'Interface': interface, 'DeviceType': 2, 'State': 30, 'Managed': managed})


def do_connect(interface, ssid, frequency):
    path = MAIN + '/AccessPoint/' + interface
    Exported(tree, path, ACCESS_POINT, {'Ssid': ssid, 'Frequency': frequency})
    tree.objects[MAIN + '/Devices/' + interface].connect(path)


def do_disconnect(interface):
    tree.objects[MAIN + '/Devices/' + interface].connect('/')
    tree.objects[MAIN + '/AccessPoint/' + interface].remove()


def do_change(**properties):
    """Of the main object."""
    tree.objects[MAIN].change(properties)


def do_fail(method, **fault):
    """Plans the next call of a method: see bluez.py. The switch is SetWirelessEnabled."""
    tree.faults.plan(method, **fault)


def do_calls():
    """The names of the methods that were called since the last time."""
    return [call[0] for call in tree.faults.take_calls() if call[0] != 'GetManagedObjects']


def do_supplicant(is_there):
    if is_there:
        bus.request_name(SUPPLICANT)
    else:
        bus.release_name(SUPPLICANT)


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
tree = Tree(bus, ROOT)
commands.serve(bus, globals())
