#!/usr/bin/python3
"""Plays bluetoothd on the system's bus, as a test tells it.

Commands come as JSON, one object a line, and are answered by a line of JSON. They name what to do in
"do" (see the functions called do_...) and have its arguments beside it. Paths are below /org/bluez.
"""
import json
import os
import socket
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

SERVICE = 'org.bluez'
ROOT = '/org/bluez'
MANAGER = 'org.freedesktop.DBus.ObjectManager'
PROPERTIES = 'org.freedesktop.DBus.Properties'
ADAPTER = 'org.bluez.Adapter1'
ADVERTISING = 'org.bluez.LEAdvertisingManager1'
ADVERTISEMENT = 'org.bluez.LEAdvertisement1'
DEVICE = 'org.bluez.Device1'
GATT_SERVICE = 'org.bluez.GattService1'
CHARACTERISTIC = 'org.bluez.GattCharacteristic1'
GATT_MANAGER = 'org.bluez.GattManager1'

# The types that BlueZ gives its properties, where they are not texts or truth values.
TYPES = {
    'Class': dbus.UInt32, 'RSSI': dbus.Int16, 'TxPower': dbus.Int16, 'MTU': dbus.UInt16,
    'Adapter': dbus.ObjectPath, 'Device': dbus.ObjectPath, 'Service': dbus.ObjectPath,
    'Appearance': dbus.UInt16,
}


def octets(data):
    return dbus.Array([dbus.Byte(octet) for octet in data], signature='y')


def to_bus(name, value):
    """A property's value from JSON: bytes are texts of hexadecimal digits."""
    if name in TYPES:
        return TYPES[name](value)
    if name == 'Value':
        return octets(bytes.fromhex(value))
    if name == 'ManufacturerData':
        return dbus.Dictionary({dbus.UInt16(int(key)): octets(bytes.fromhex(data))
                                for key, data in value.items()}, signature='qv')
    if name == 'ServiceData':
        return dbus.Dictionary({key: octets(bytes.fromhex(data)) for key, data in value.items()},
                               signature='sv')
    if isinstance(value, list):
        return dbus.Array(value, signature='s')
    return value


# A call that is answered later, elsewhere.
DEFERRED = object()


class Failure(dbus.DBusException):
    def __init__(self, name, message):
        super().__init__(message)
        self._dbus_error_name = name


class Faults:
    """What becomes of the next calls of a method, by its name."""

    def __init__(self):
        self.planned = {}
        self.calls = []

    def answer(self, method, arguments, perform, reply, fail):
        """Performs the call, unless something else is planned for it."""
        self.calls.append([method, *arguments])
        planned = self.planned.get(method)
        if not planned:
            self.finish(perform, reply, fail)
            return
        fault = planned[0]
        if fault.get('times', 1) == 1:
            planned.pop(0)
        else:
            fault['times'] -= 1
        if fault.get('never'):
            return
        if 'error' in fault:
            def act():
                if 'leaves' in fault:
                    do_change(fault['leaves'], Connected=False)
                fail(Failure(fault['error'], fault.get('message', '')))
        elif fault.get('idle'):
            def act():
                reply()
        else:
            def act():
                self.finish(perform, reply, fail)
        GLib.timeout_add(fault.get('delay', 0), lambda: act() and False)

    @staticmethod
    def finish(perform, reply, fail):
        try:
            result = perform()
        except Failure as failure:
            fail(failure)
            return
        if result is DEFERRED:
            return
        if result is None:
            reply()
        else:
            reply(result)


faults = Faults()


class Exported(dbus.service.Object):
    """An object with properties, listed by the object manager while it is there."""

    others = ()  # further interfaces, without properties

    def __init__(self, path, interface, properties):
        self.path, self.interface = path, interface
        self.properties = {name: to_bus(name, value) for name, value in properties.items()}
        super().__init__(bus, path)
        objects[path] = self
        root.InterfacesAdded(dbus.ObjectPath(path), self.interfaces())

    def interfaces(self):
        nothing = dbus.Dictionary({}, signature='sv')
        return {self.interface: self.properties, **{other: nothing for other in self.others}}

    def remove(self):
        for path in [path for path in objects if path.startswith(self.path + '/')]:
            if path in objects:  # not removed with another one
                objects[path].remove()
        del objects[self.path]
        root.InterfacesRemoved(dbus.ObjectPath(self.path), [self.interface, *self.others])
        self.remove_from_connection()

    def set(self, properties):
        changed = {name: to_bus(name, value) for name, value in properties.items()}
        self.properties.update(changed)
        return changed

    def change(self, properties):
        self.PropertiesChanged(self.interface, self.set(properties), [])

    @dbus.service.signal(PROPERTIES, signature='sa{sv}as')
    def PropertiesChanged(self, interface, changed, invalidated):
        pass

    @dbus.service.method(PROPERTIES, in_signature='ss', out_signature='v')
    def Get(self, interface, name):
        return self.properties[name]

    @dbus.service.method(PROPERTIES, in_signature='s', out_signature='a{sv}')
    def GetAll(self, interface):
        return self.properties

    @dbus.service.method(PROPERTIES, in_signature='ssv', async_callbacks=('reply', 'fail'))
    def Set(self, interface, name, value, reply, fail):
        faults.answer('Set' + str(name), [self.path, value],
                      lambda: self.written(str(name), value), reply, fail)

    def written(self, name, value):
        self.properties[name] = value
        self.PropertiesChanged(self.interface, {name: value}, [])


class Adapter(Exported):
    others = (GATT_MANAGER, ADVERTISING)

    def __init__(self, name, properties):
        super().__init__(ROOT + '/' + name, ADAPTER, {
            'Address': '00:00:00:00:00:00', 'Alias': name, 'Powered': False, 'Discovering': False,
            **properties})

    @dbus.service.method(ADAPTER, in_signature='a{sv}', async_callbacks=('reply', 'fail'))
    def SetDiscoveryFilter(self, wanted, reply, fail):
        faults.answer('SetDiscoveryFilter', [self.path], lambda: None, reply, fail)

    @dbus.service.method(ADAPTER, async_callbacks=('reply', 'fail'))
    def StartDiscovery(self, reply, fail):
        faults.answer('StartDiscovery', [self.path], lambda: self.discover(True), reply, fail)

    @dbus.service.method(ADAPTER, async_callbacks=('reply', 'fail'))
    def StopDiscovery(self, reply, fail):
        faults.answer('StopDiscovery', [self.path], lambda: self.discover(False), reply, fail)

    @dbus.service.method(ADVERTISING, in_signature='oa{sv}', async_callbacks=('reply', 'fail'),
                         sender_keyword='sender')
    def RegisterAdvertisement(self, path, options, reply, fail, sender):
        def register():
            if len(advertisements) >= 5:
                raise Failure('org.bluez.Error.NotPermitted', 'Maximum advertisements reached')
            advertisements[path] = (sender, None)
            bus.call_async(sender, path, PROPERTIES, 'GetAll', 's', (ADVERTISEMENT,),
                           lambda properties: keep(properties), fail)
            return DEFERRED

        def keep(properties):
            advertisements[path] = (sender, properties)
            reply()

        faults.answer('RegisterAdvertisement', [path], register, reply, fail)

    @dbus.service.method(ADVERTISING, in_signature='o', async_callbacks=('reply', 'fail'))
    def UnregisterAdvertisement(self, path, reply, fail):
        faults.answer('UnregisterAdvertisement', [path], lambda: advertisements.pop(path) and None, reply, fail)

    @dbus.service.method(GATT_MANAGER, in_signature='oa{sv}', async_callbacks=('reply', 'fail'),
                         sender_keyword='sender')
    def RegisterApplication(self, path, options, reply, fail, sender):
        def register():
            bus.call_async(sender, path, MANAGER, 'GetManagedObjects', '', (), keep, fail)
            return DEFERRED

        def keep(managed):
            applications[path] = (sender, managed)
            bus.add_signal_receiver(changed, 'PropertiesChanged', PROPERTIES, sender, path_keyword='path')
            reply()

        def changed(interface, properties, invalidated, path):
            faults.calls.append(['changed', path, from_bus(properties)])

        faults.answer('RegisterApplication', [path], register, reply, fail)

    @dbus.service.method(GATT_MANAGER, in_signature='o', async_callbacks=('reply', 'fail'))
    def UnregisterApplication(self, path, reply, fail):
        faults.answer('UnregisterApplication', [path], lambda: applications.pop(path) and None, reply, fail)

    def discover(self, on):
        if not self.properties['Powered']:
            raise Failure('org.bluez.Error.NotReady', 'Resource Not Ready')
        self.change({'Discovering': on})


class Device(Exported):
    def __init__(self, path, properties):
        super().__init__(path, DEVICE, {
            'Adapter': path.rsplit('/', 1)[0], 'AddressType': 'public', 'Connected': False,
            'ServicesResolved': False, **properties})

    def set(self, properties):
        if properties.get('Connected') is False:
            properties = {'ServicesResolved': False, **properties}
        return super().set(properties)

    @dbus.service.method(DEVICE, async_callbacks=('reply', 'fail'))
    def Connect(self, reply, fail):
        # Without a signal, as BlueZ does where it sees the connection before the kernel reports it.
        def connect():
            self.set({'Connected': True})

        faults.answer('Connect', [self.path], connect, reply, fail)

    @dbus.service.method(DEVICE, async_callbacks=('reply', 'fail'))
    def Disconnect(self, reply, fail):
        faults.answer('Disconnect', [self.path], lambda: self.change({'Connected': False}), reply, fail)


class Characteristic(Exported):
    def __init__(self, path, properties):
        super().__init__(path, CHARACTERISTIC, {'Service': path.rsplit('/', 1)[0], 'Flags': [], 'Value': '',
                                                **properties})

    @dbus.service.method(CHARACTERISTIC, in_signature='a{sv}', out_signature='ay',
                         async_callbacks=('reply', 'fail'))
    def ReadValue(self, options, reply, fail):
        faults.answer('ReadValue', [self.path], lambda: self.properties['Value'], reply, fail)

    @dbus.service.method(CHARACTERISTIC, in_signature='aya{sv}', async_callbacks=('reply', 'fail'))
    def WriteValue(self, value, options, reply, fail):
        faults.answer('WriteValue', [self.path, bytes(value).hex(), options.get('type', '')],
                      lambda: self.properties.update(Value=value), reply, fail)

    @dbus.service.method(CHARACTERISTIC, in_signature='a{sv}', out_signature='hq',
                         async_callbacks=('reply', 'fail'))
    def AcquireNotify(self, options, reply, fail):
        def acquire():
            self.socket, other = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
            GLib.io_add_watch(self.socket.fileno(), GLib.IO_HUP, self.closed)
            # Two results, which one function cannot hand on.
            reply(dbus.types.UnixFd(other), dbus.UInt16(517))
            other.close()
            return DEFERRED

        faults.answer('AcquireNotify', [self.path], acquire, reply, fail)

    def closed(self, source, condition):
        faults.calls.append(['closed', self.path])
        return False

    @dbus.service.method(CHARACTERISTIC, async_callbacks=('reply', 'fail'))
    def StartNotify(self, reply, fail):
        faults.answer('StartNotify', [self.path], lambda: None, reply, fail)

    @dbus.service.method(CHARACTERISTIC, async_callbacks=('reply', 'fail'))
    def StopNotify(self, reply, fail):
        faults.answer('StopNotify', [self.path], lambda: None, reply, fail)


class Root(dbus.service.Object):
    @dbus.service.method(MANAGER, out_signature='a{oa{sa{sv}}}', async_callbacks=('reply', 'fail'))
    def GetManagedObjects(self, reply, fail):
        faults.answer('GetManagedObjects', [], lambda: dbus.Dictionary(
            {dbus.ObjectPath(path): one.interfaces() for path, one in objects.items()},
            signature='oa{sa{sv}}'), reply, fail)

    @dbus.service.signal(MANAGER, signature='oa{sa{sv}}')
    def InterfacesAdded(self, path, interfaces):
        pass

    @dbus.service.signal(MANAGER, signature='oas')
    def InterfacesRemoved(self, path, interfaces):
        pass


def do_adapter(name, **properties):
    Adapter(name, properties)


def do_device(path, **properties):
    Device(ROOT + '/' + path, properties)


def do_service(path, **properties):
    Exported(ROOT + '/' + path, GATT_SERVICE, properties)


def do_characteristic(path, **properties):
    Characteristic(ROOT + '/' + path, properties)


def do_remove(path):
    objects[ROOT + '/' + path].remove()


def do_change(path, **properties):
    objects[ROOT + '/' + path].change(properties)


def do_set(path, **properties):
    """Changes properties without a signal."""
    objects[ROOT + '/' + path].set(properties)


def do_packet(path, value):
    """A value through the socket of AcquireNotify."""
    objects[ROOT + '/' + path].socket.send(bytes.fromhex(value))


def do_fail(method, **fault):
    """The next call (or the next so many "times") of the method ends in an "error", just when a device
    "leaves" where one is given, after a "delay" in ms, or "never". A delay alone makes it late. An "idle" one is answered, but does nothing."""
    faults.planned.setdefault(method, []).append(fault)


def do_calls():
    """All calls since the last time: each the method's name, the object's path, and what was given."""
    calls, faults.calls = faults.calls, []
    return calls


def from_bus(value):
    """A property's value for JSON; bytes as hexadecimal digits."""
    if isinstance(value, dbus.Array) and value.signature == 'y':
        return bytes(value).hex()
    if isinstance(value, dbus.Dictionary):
        return {str(int(key) if isinstance(key, int) else key): from_bus(one) for key, one in value.items()}
    if isinstance(value, dbus.Array):
        return [from_bus(one) for one in value]
    if isinstance(value, dbus.Boolean):
        return bool(value)
    return value


def do_advertisements():
    """The properties of all that is advertised, by its path."""
    return {path: from_bus(properties) for path, (_, properties) in advertisements.items()}


def do_applications():
    """All objects of the GATT services that programs have registered, by their paths."""
    return {path: {name: from_bus(properties) for name, properties in interfaces.items()}
            for _, managed in applications.values() for path, interfaces in managed.items()}


def do_peer(method, characteristic, value=None, **options):
    """Calls a program's characteristic on behalf of a device, and says what it returns."""
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
    for one in list(objects.values()):
        if one.path in objects:
            one.remove()


def do_come():
    bus.request_name(SERVICE)


def command(line):
    try:
        arguments = json.loads(line)
        result = globals()['do_' + arguments.pop('do')](**arguments)
    except Exception as failure:  # the test is told, whatever it is
        result = {'failed': repr(failure)}
    # What was said on the bus is there before the answer is.
    bus.call_blocking('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'GetId', '', ())
    print(json.dumps(result), flush=True)


def read_commands(source, condition, pending=bytearray()):
    data = os.read(0, 65536)
    if not data:
        loop.quit()
        return False
    pending += data
    while b'\n' in pending:
        line, _, rest = pending.partition(b'\n')
        pending[:] = rest
        command(line)
    return True


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
bus = dbus.SystemBus()
objects = {}
advertisements = {}
applications = {}
root = Root(bus, '/')
bus.request_name(SERVICE)
loop = GLib.MainLoop()
GLib.io_add_watch(0, GLib.IO_IN | GLib.IO_HUP, read_commands)
print('ready', flush=True)
loop.run()
