"""A program of the library that asks for a group when it reads a line. It prints the result and how long it took, and
what it is notified of, until its input ends."""
import ctypes
import os
import sys
import time

library = ctypes.CDLL(os.environ['STAGE'] + '/lib/libPelaconSDK.so')


class Change(ctypes.Structure):
    _fields_ = [('state', ctypes.c_int32), ('reason', ctypes.c_int32)]


Notified = ctypes.CFUNCTYPE(None, Change)


class Table(ctypes.Structure):
    _fields_ = [('group', Notified), ('station', ctypes.c_void_p)]


@Notified
def notified(change):
    print('notified', change.state, flush=True)


table = Table(notified, None)
library.PelaconSvcStart()
while library.Vod2dRegisterSoftAPStateChangedCallback(ctypes.byref(table)) != 0:
    time.sleep(0.1)
info = (ctypes.c_uint8 * 320)()
ctypes.c_int32.from_buffer(info, 296).value = int(sys.argv[1])
print('ready', flush=True)
sys.stdin.readline()
begin = time.monotonic()
result = library.Vod2dCreateGroup(ctypes.byref(info))
print('result', result, round(time.monotonic() - begin), flush=True)
sys.stdin.read()
