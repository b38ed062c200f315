#include <service/linux/bluetooth/GattService.h>

#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

GattService::GattService(Stack& stack, GattPeers& peers, const Uuid& uuid,
                         const std::vector<Characteristic>& characteristics, Callbacks callbacks)
    : stack_(stack), peers_(peers), uuid_(uuid), callbacks_(std::move(callbacks))
{
    for (std::size_t place = 0; place < characteristics.size(); ++place) {
        characteristics_.push_back(std::make_unique<ServedCharacteristic>(
            stack_, peers_, characteristics[place].uuid, characteristics[place].flags,
            ServedCharacteristic::Callbacks{
                [this, place](std::uint64_t peer) { return callbacks_.read(peer, place); },
                [this, place](std::uint64_t peer, const Bytes& value) {
                    callbacks_.written(peer, place, value);
                },
                [this, place](const std::vector<std::uint64_t>& subscribers) {
                    callbacks_.subscribed(place, subscribers);
                }}));
    }
    stack_.Add(*this);
    peers_.Add(*this);
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] {
        Fit();
        if (adapter_.empty()) {
            Finish(radio::Outcome::kNoAdapter);
        }
    });
}

GattService::~GattService()
{
    stack_.Remove(*this);
    peers_.Remove(*this);
    if (tree_ && stack_.Adapter() && stack_.Adapter()->path == adapter_) {
        stack_.Bus().Send({bluez::kService, adapter_, bluez::kGattManager, "UnregisterApplication"},
                          {dbus::ObjectPath{tree_->Root()}});
    }
}

void GattService::ObjectAdded(const std::string&, const std::string& interface)
{
    if (interface == bluez::kGattManager) {
        Fit();
    }
}

void GattService::PeerConnected(std::uint64_t /*peer*/)
{
    for (const auto& characteristic : characteristics_) {
        characteristic->UpdateSubscribers();
    }
}

void GattService::PeerDisconnected(std::uint64_t peer)
{
    for (const auto& characteristic : characteristics_) {
        characteristic->PeerDisconnected(peer);
    }
}

/// Registers it with the adapter, if that is another one than before.
void GattService::Fit()
{
    std::string adapter = stack_.Adapter() ? stack_.Adapter()->path : "";
    if (!adapter.empty() && stack_.Mirror().Find(adapter, bluez::kGattManager) == nullptr) {
        adapter.clear();
    }
    if (adapter == adapter_) {
        return;
    }
    Withdraw();
    adapter_ = adapter;
    if (adapter_.empty()) {
        Finish(radio::Outcome::kNoAdapter);
    } else {
        Register();
    }
}

void GattService::Register()
{
    // Another path each time: BlueZ may still be busy with the one before.
    const std::string root = stack_.NewPath("gatt");
    const std::string service = root + "/service";
    tree_ = std::make_unique<dbus::ObjectTree>(stack_.Bus(), root);
    tree_->Add(service, bluez::kGattService,
               {{{"UUID", protocol::LongText(uuid_)}, {"Primary", true}}, {}});
    for (std::size_t place = 0; place < characteristics_.size(); ++place) {
        characteristics_[place]->Attach(*tree_, service,
                                        service + "/characteristic" + std::to_string(place));
    }
    registering_ = stack_.Call(adapter_, bluez::kGattManager, "RegisterApplication",
                               {dbus::ObjectPath{root}, dbus::MakeProperties({})},
                               [this](const dbus::Reply& reply) {
                                   if (!reply.IsError()) {
                                       Finish(radio::Outcome::kDone);
                                       return;
                                   }
                                   const radio::Outcome why = OutcomeOf(*reply.error, adapter_);
                                   Withdraw();
                                   later_ = stack_.GetLoop().After(kNextTry, [this] { Fit(); });
                                   Finish(why);
                               });
}

void GattService::Withdraw()
{
    registering_.Reset();
    for (const auto& characteristic : characteristics_) {
        characteristic->Detach();
    }
    tree_.reset();
    adapter_.clear();
}

void GattService::Finish(radio::Outcome outcome)
{
    if (const auto shown = std::exchange(callbacks_.shown, nullptr)) {
        shown(outcome);
    }
}

std::vector<std::uint64_t> GattService::Subscribers(std::size_t characteristic) const
{
    return characteristics_.at(characteristic)->Subscribers();
}

void GattService::Notify(std::size_t characteristic, const Bytes& value, Done done)
{
    characteristics_.at(characteristic)->Notify(value, std::move(done));
}

void GattService::NotifyOne(std::uint64_t peer, std::size_t characteristic, const Bytes& value,
                            Done done)
{
    characteristics_.at(characteristic)->NotifyOne(peer, value, std::move(done));
}

}  // namespace pelacon::service::linux_radios::bluetooth
