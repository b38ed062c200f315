"""Has bluetoothd discover LE devices for a while, as a desktop's settings do: discover.py hci0 SECONDS"""
import sys
import time

import dbus

adapter = dbus.Interface(dbus.SystemBus().get_object('org.bluez', '/org/bluez/' + sys.argv[1]), 'org.bluez.Adapter1')
adapter.SetDiscoveryFilter(dbus.Dictionary({'Transport': 'le', 'DuplicateData': True}, signature='sv'))
adapter.StartDiscovery()
print('discovering', flush=True)
time.sleep(float(sys.argv[2]))
