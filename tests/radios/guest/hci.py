"""The kernel's Bluetooth sockets: one controller's events, the management interface, the monitor.

As a program it prints the advertisements that a controller receives (another program switches scanning on),
or succeeds if there are CONTROLLERS controllers, all set up:
hci.py CONTROLLER SECONDS
hci.py --ready CONTROLLERS
or advertises a number that it counts up twenty times a second:
hci.py --count CONTROLLER
"""
import ctypes
import os
import socket
import struct
import sys
import time

RAW, MONITOR, CONTROL = 0, 2, 3
NONE = 0xFFFF
_libc = ctypes.CDLL(None, use_errno=True)
_KINDS = {0: 'ADV_IND', 1: 'ADV_DIRECT_IND', 2: 'ADV_SCAN_IND', 3: 'ADV_NONCONN_IND', 4: 'SCAN_RSP'}


def open_socket(controller, channel):
    """Python's own bind knows no channels. RAW with a filter and MONITOR want CAP_NET_RAW, what changes
    something by CONTROL wants CAP_NET_ADMIN."""
    result = socket.socket(socket.AF_BLUETOOTH, socket.SOCK_RAW | socket.SOCK_CLOEXEC, socket.BTPROTO_HCI)
    address = struct.pack('<HHH', socket.AF_BLUETOOTH, controller, channel)
    if _libc.bind(result.fileno(), address, len(address)) != 0:
        error = ctypes.get_errno()
        result.close()
        raise OSError(error, os.strerror(error))
    return result


def want_le_events_only(raw):
    """Events (packet type 4) of which only LE Meta (0x3E)."""
    raw.setsockopt(0, 2, struct.pack('<IIIHxx', 1 << 4, 0, 1 << (0x3E - 32), 0))


def address_text(octets):
    return ':'.join('%02X' % octet for octet in reversed(octets))


def reports(packet):
    """The advertising reports in a packet of a raw socket: kind, address type, address, RSSI, data."""
    if packet[:2] != b'\x04\x3e':
        return
    count, rest = packet[4], packet[5:]
    for _ in range(count):
        if packet[3] == 0x02:
            length = rest[8]
            yield (_KINDS.get(rest[0], rest[0]), rest[1], address_text(rest[2:8]),
                   struct.unpack('b', rest[9 + length:10 + length])[0], rest[9:9 + length])
            rest = rest[10 + length:]
        elif packet[3] == 0x0D:
            length = rest[23]
            yield ('EXT 0x%04x' % struct.unpack('<H', rest[:2]), rest[2], address_text(rest[3:9]),
                   struct.unpack('b', rest[13:14])[0], rest[24:24 + length])
            rest = rest[24 + length:]
        else:
            return


def command(control, code, controller=NONE, parameters=b'', seconds=5):
    """A management command: its status and what it returns."""
    control.settimeout(seconds)
    control.send(struct.pack('<HHH', code, controller, len(parameters)) + parameters)
    while True:
        answer = control.recv(4096)
        event, _, length = struct.unpack('<HHH', answer[:6])
        body = answer[6:6 + length]
        if event in (1, 2) and struct.unpack('<H', body[:2])[0] == code:
            return body[2], body[3:]


def add_advertising(control, controller, instance, flags, data, response):
    return command(control, 0x003E, controller, struct.pack(
        '<BIHHBB', instance, flags, 0, 0, len(data), len(response)) + data + response)[0]


def controllers():
    """The numbers of those that the kernel has set up."""
    _, answer = command(open_socket(NONE, CONTROL), 0x0003)
    count, = struct.unpack('<H', answer[:2])
    return struct.unpack('<%dH' % count, answer[2:2 + 2 * count])


def count(controller):
    """By commands to the controller itself, of which bluetoothd learns nothing."""
    raw = open_socket(controller, RAW)

    def send(code, parameters):
        raw.send(struct.pack('<BHB', 1, 0x2000 | code, len(parameters)) + parameters)

    for number in range(2 ** 32):
        data = b'\x07\xff\xff\xff' + struct.pack('<I', number)
        send(0x0A, b'\x00')
        send(0x08, bytes([len(data)]) + data.ljust(31, b'\x00'))
        send(0x0A, b'\x01')
        time.sleep(0.05)


def main():
    if sys.argv[1] == '--count':
        count(int(sys.argv[2]))
    if sys.argv[1] == '--ready':
        sys.exit(len(controllers()) != int(sys.argv[2]))
    raw = open_socket(int(sys.argv[1]), RAW)
    want_le_events_only(raw)
    end = time.monotonic() + float(sys.argv[2])
    while (left := end - time.monotonic()) > 0:
        raw.settimeout(left)
        try:
            packet = raw.recv(4096)
        except TimeoutError:
            break
        for kind, address_type, address, rssi, data in reports(packet):
            print(kind, address_type, address, rssi, data.hex(), flush=True)


if __name__ == '__main__':
    main()
