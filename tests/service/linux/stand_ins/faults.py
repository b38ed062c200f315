"""Calls of methods: all are recorded; those that a test plans fail, come late, or are never answered."""
import dbus
from gi.repository import GLib

# What a method returns that replies by itself, later.
DEFERRED = object()


class Failure(dbus.DBusException):
    def __init__(self, name, message):
        super().__init__(message)
        self._dbus_error_name = name


class Faults:
    def __init__(self):
        self.planned = {}
        self.calls = []

    def plan(self, method, **fault):
        self.planned.setdefault(method, []).append(fault)

    def take_calls(self):
        calls, self.calls = self.calls, []
        return calls

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
                fault.get('before', lambda: None)()
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
