"""BlueZ's adapters, and what programs have registered with them."""
import dbus.service

from bus_values import from_bus
from exported import Exported, MANAGER, PROPERTIES
from faults import DEFERRED, Failure

ROOT = '/org/bluez'
ADAPTER = 'org.bluez.Adapter1'
ADVERTISING = 'org.bluez.LEAdvertisingManager1'
ADVERTISEMENT = 'org.bluez.LEAdvertisement1'
GATT_MANAGER = 'org.bluez.GattManager1'
AGENT_MANAGER = 'org.bluez.AgentManager1'

# By their paths: the program, and its object's properties or its tree of objects.
advertisements = {}
applications = {}


class AgentManager(dbus.service.Object):
    """Keeps the agent that was registered last, as program and path."""

    def __init__(self, tree):
        super().__init__(tree.bus, ROOT)
        self.tree = tree
        self.agent = None

    @dbus.service.method(AGENT_MANAGER, in_signature='os', async_callbacks=('reply', 'fail'), sender_keyword='sender')
    def RegisterAgent(self, path, capability, reply, fail, sender):
        def register():
            self.agent = sender, path

        self.tree.faults.answer('RegisterAgent', [path, capability], register, reply, fail)

    @dbus.service.method(AGENT_MANAGER, in_signature='o', async_callbacks=('reply', 'fail'))
    def RequestDefaultAgent(self, path, reply, fail):
        self.tree.faults.answer('RequestDefaultAgent', [path], lambda: None, reply, fail)


class Adapter(Exported):
    others = (GATT_MANAGER, ADVERTISING)

    def __init__(self, tree, name, properties):
        super().__init__(tree, ROOT + '/' + name, ADAPTER, {
            'Address': '00:00:00:00:00:00', 'Alias': name, 'Powered': False, 'Discovering': False,
            **properties})
        self.is_request_under_way = False

    @dbus.service.method(ADAPTER, in_signature='a{sv}', async_callbacks=('reply', 'fail'))
    def SetDiscoveryFilter(self, wanted, reply, fail):
        self.answer('SetDiscoveryFilter', [], lambda: None, reply, fail)

    @dbus.service.method(ADAPTER, async_callbacks=('reply', 'fail'))
    def StartDiscovery(self, reply, fail):
        self.request('StartDiscovery', lambda: self.discover(True), reply, fail)

    @dbus.service.method(ADAPTER, async_callbacks=('reply', 'fail'))
    def StopDiscovery(self, reply, fail):
        self.request('StopDiscovery', lambda: self.discover(False), reply, fail)

    @dbus.service.method(ADVERTISING, in_signature='oa{sv}', async_callbacks=('reply', 'fail'),
                         sender_keyword='sender')
    def RegisterAdvertisement(self, path, options, reply, fail, sender):
        def register():
            if len(advertisements) >= 5:
                raise Failure('org.bluez.Error.NotPermitted', 'Maximum advertisements reached')
            advertisements[path] = (sender, None)
            self.tree.bus.call_async(sender, path, PROPERTIES, 'GetAll', 's', (ADVERTISEMENT,),
                                     lambda properties: keep(properties), fail)
            return DEFERRED

        def keep(properties):
            advertisements[path] = (sender, properties)
            reply()

        self.tree.faults.answer('RegisterAdvertisement', [path], register, reply, fail)

    @dbus.service.method(ADVERTISING, in_signature='o', async_callbacks=('reply', 'fail'))
    def UnregisterAdvertisement(self, path, reply, fail):
        self.tree.faults.answer('UnregisterAdvertisement', [path],
                                lambda: advertisements.pop(path) and None, reply, fail)

    @dbus.service.method(GATT_MANAGER, in_signature='oa{sv}', async_callbacks=('reply', 'fail'),
                         sender_keyword='sender')
    def RegisterApplication(self, path, options, reply, fail, sender):
        def register():
            self.tree.bus.call_async(sender, path, MANAGER, 'GetManagedObjects', '', (), keep, fail)
            return DEFERRED

        def keep(managed):
            applications[path] = (sender, managed)
            self.tree.bus.add_signal_receiver(changed, 'PropertiesChanged', PROPERTIES, sender,
                                              path_keyword='path')
            reply()

        def changed(interface, properties, invalidated, path):
            self.tree.faults.calls.append(['changed', path, from_bus(properties)])

        self.tree.faults.answer('RegisterApplication', [path], register, reply, fail)

    @dbus.service.method(GATT_MANAGER, in_signature='o', async_callbacks=('reply', 'fail'))
    def UnregisterApplication(self, path, reply, fail):
        self.tree.faults.answer('UnregisterApplication', [path],
                                lambda: applications.pop(path) and None, reply, fail)

    def discover(self, on):
        if not self.properties['Powered']:
            raise Failure('org.bluez.Error.NotReady', 'Resource Not Ready')
        if on and self.properties['Discovering']:
            raise Failure('org.bluez.Error.InProgress', 'Operation already in progress')
        if not on and not self.properties['Discovering']:
            raise Failure('org.bluez.Error.Failed', 'No discovery started')
        self.change({'Discovering': on})

    def request(self, method, perform, reply, fail):
        """A start or stop of discovery, which is refused while another one is under way."""
        def refuse():
            raise Failure('org.bluez.Error.InProgress', 'Operation already in progress')

        def end(answer):
            def ended(*arguments):
                self.is_request_under_way = False
                answer(*arguments)
            return ended

        if self.is_request_under_way:
            self.answer(method, [], refuse, reply, fail)
        else:
            self.is_request_under_way = True
            self.answer(method, [], perform, end(reply), end(fail))
