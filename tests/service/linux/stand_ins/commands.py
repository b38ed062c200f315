"""The commands that a test gives a stand-in.

They come as JSON, one object a line, and are answered by a line of JSON. They name what to do in "do", a
function called do_..., and have its arguments beside it.
"""
import json
import os

from gi.repository import GLib


def perform(bus, functions, line):
    try:
        arguments = json.loads(line)
        result = functions['do_' + arguments.pop('do')](**arguments)
    except Exception as failure:  # whatever it is, the test fails
        result = {'failed': repr(failure)}
    # The answer comes after all that was sent on the bus.
    bus.call_blocking('org.freedesktop.DBus', '/', 'org.freedesktop.DBus', 'GetId', '', ())
    print(json.dumps(result), flush=True)


def serve(bus, functions):
    """Prints that it is ready, and performs commands until there are no more."""
    loop = GLib.MainLoop()
    pending = bytearray()

    def read(source, condition):
        data = os.read(0, 65536)
        if not data:
            loop.quit()
            return False
        pending.extend(data)
        while b'\n' in pending:
            line, _, rest = pending.partition(b'\n')
            pending[:] = rest
            perform(bus, functions, line)
        return True

    GLib.io_add_watch(0, GLib.IO_IN | GLib.IO_HUP, read)
    print('ready', flush=True)
    loop.run()
