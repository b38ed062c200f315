"""D-Bus values from JSON, and JSON from them."""
import dbus

# The types that BlueZ and NetworkManager give their properties, where they are not texts or truth values.
TYPES = {
    'Class': dbus.UInt32, 'RSSI': dbus.Int16, 'TxPower': dbus.Int16, 'MTU': dbus.UInt16,
    'Adapter': dbus.ObjectPath, 'Device': dbus.ObjectPath, 'Service': dbus.ObjectPath,
    'Appearance': dbus.UInt16,
    'State': dbus.UInt32, 'DeviceType': dbus.UInt32, 'Frequency': dbus.UInt32,
    'ActiveAccessPoint': dbus.ObjectPath,
}


def octets(data):
    return dbus.Array([dbus.Byte(octet) for octet in data], signature='y')


def to_bus(name, value):
    """A property's value from JSON: bytes are texts of hexadecimal digits."""
    if name in TYPES:
        return TYPES[name](value)
    if name == 'Ssid':
        return octets(value.encode())
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
