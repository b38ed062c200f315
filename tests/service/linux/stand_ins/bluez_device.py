"""Devices that BlueZ knows, and their GATT characteristics."""
import dbus.service

from exported import Exported

DEVICE = 'org.bluez.Device1'
GATT_SERVICE = 'org.bluez.GattService1'
CHARACTERISTIC = 'org.bluez.GattCharacteristic1'


class Device(Exported):
    def __init__(self, tree, path, properties):
        super().__init__(tree, path, DEVICE, {
            'Adapter': path.rsplit('/', 1)[0], 'AddressType': 'public', 'Connected': False,
            'ServicesResolved': False, **properties})

    def set(self, properties):
        if properties.get('Connected') is False:
            properties = {'ServicesResolved': False, **properties}
        return super().set(properties)

    @dbus.service.method(DEVICE, async_callbacks=('reply', 'fail'))
    def Connect(self, reply, fail):
        # Without a signal, as BlueZ does if it sees the connection before the kernel reports it.
        def connect():
            self.set({'Connected': True})

        self.answer('Connect', [], connect, reply, fail)

    @dbus.service.method(DEVICE, async_callbacks=('reply', 'fail'))
    def Disconnect(self, reply, fail):
        self.answer('Disconnect', [], lambda: self.change({'Connected': False}), reply, fail)


class Characteristic(Exported):
    def __init__(self, tree, path, properties):
        super().__init__(tree, path, CHARACTERISTIC, {
            'Service': path.rsplit('/', 1)[0], 'Flags': [], 'Value': '', **properties})

    @dbus.service.method(CHARACTERISTIC, in_signature='a{sv}', out_signature='ay',
                         async_callbacks=('reply', 'fail'))
    def ReadValue(self, options, reply, fail):
        def read():
            # BlueZ signals each value that it has read, also one that has not changed.
            value = self.properties['Value']
            self.PropertiesChanged(CHARACTERISTIC, {'Value': value}, [])
            return value

        self.answer('ReadValue', [], read, reply, fail)

    @dbus.service.method(CHARACTERISTIC, in_signature='aya{sv}', async_callbacks=('reply', 'fail'))
    def WriteValue(self, value, options, reply, fail):
        self.answer('WriteValue', [bytes(value).hex(), options.get('type', '')],
                    lambda: self.properties.update(Value=value), reply, fail)

    @dbus.service.method(CHARACTERISTIC, async_callbacks=('reply', 'fail'))
    def StartNotify(self, reply, fail):
        self.answer('StartNotify', [], lambda: None, reply, fail)

    @dbus.service.method(CHARACTERISTIC, async_callbacks=('reply', 'fail'))
    def StopNotify(self, reply, fail):
        self.answer('StopNotify', [], lambda: None, reply, fail)
