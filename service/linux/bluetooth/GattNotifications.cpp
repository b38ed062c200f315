#include <service/linux/bluetooth/GattNotifications.h>

#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

GattNotifications::GattNotifications(Stack& stack) : stack_(stack)
{
    stack_.Add(*this);
}

GattNotifications::~GattNotifications()
{
    stack_.Remove(*this);
}

std::unique_ptr<GattNotifications::Subscription> GattNotifications::Subscribe(
    const bluez::Characteristic& characteristic, Received received, Established established)
{
    const std::string& path = characteristic.path;
    Source& source = sources_[path];
    const std::uint64_t number = ++lastNumber_;
    source.subscribers.emplace(number, Subscriber{std::move(received), std::move(established)});
    if (source.state == State::kOn) {
        source.later = stack_.GetLoop().After(Loop::Duration::zero(),
                                              [this, path] { Finish(path, std::nullopt); });
    } else if (source.state == State::kOff) {
        source.isIndication = !characteristic.Has("notify");
        Start(path);
    }
    return std::make_unique<Subscription>(*this, path, number);
}

/// AcquireNotify would return a socket with nothing but the notifications. It is of no use: it
/// holds some 200 of them, and BlueZ drops what does not fit.
void GattNotifications::Start(const std::string& path)
{
    Source& source = sources_.at(path);
    source.state = State::kStarting;
    source.call =
        stack_.Call(path, bluez::kGattCharacteristic, "StartNotify", {},
                    [this, path](const dbus::Reply& reply) { Finish(path, reply.error); });
}

template <typename Use>
void GattNotifications::ForEachSubscriber(const std::string& path, const Use& use)
{
    const auto source = sources_.find(path);
    if (source == sources_.end()) {
        return;
    }
    std::vector<std::uint64_t> numbers;
    for (const auto& [number, subscriber] : source->second.subscribers) {
        numbers.push_back(number);
    }
    for (const std::uint64_t number : numbers) {
        const auto now = sources_.find(path);
        if (now != sources_.end() && now->second.subscribers.contains(number)) {
            use(now->second.subscribers.at(number), now->second.isIndication);
        }
    }
}

/// Calls those callbacks that have not been called yet.
void GattNotifications::Finish(const std::string& path, const std::optional<dbus::Error>& error)
{
    sources_.at(path).state = error ? State::kOff : State::kOn;
    ForEachSubscriber(path, [&error](Subscriber& subscriber, bool) {
        if (const Established established = std::exchange(subscriber.established, nullptr)) {
            established(error);
        }
    });
}

void GattNotifications::Deliver(const std::string& path, const Bytes& value)
{
    ForEachSubscriber(path, [&](const Subscriber& subscriber, bool isIndication) {
        const Received received = subscriber.received;
        received(value, isIndication);
    });
}

/// All reads and subscriptions have ended with the adapter, or are about to.
void GattNotifications::AdapterChanged()
{
    if (!stack_.Adapter()) {
        readCalls_.clear();
        reads_.clear();
    }
}

/// With the characteristic BlueZ ends the subscription to it.
void GattNotifications::ObjectRemoved(const std::string& path, const std::string& interface,
                                      const dbus::Properties&)
{
    const auto source = sources_.find(path);
    if (interface == bluez::kGattCharacteristic && source != sources_.end() &&
        source->second.state == State::kOn) {
        source->second.state = State::kOff;
    }
}

void GattNotifications::ObjectChanged(const std::string& path, const std::string& interface,
                                      const dbus::Properties& changed)
{
    const auto value = changed.find("Value");
    if (interface != bluez::kGattCharacteristic || value == changed.end() ||
        !sources_.contains(path)) {
        return;
    }
    auto bytes = value->second.Or(Bytes());
    const auto reads = reads_.find(path);
    if (reads == reads_.end()) {
        Deliver(path, bytes);
    } else if (const auto before = std::exchange(reads->second.latest, std::move(bytes))) {
        Deliver(path, *before);  // not of a read: no reply followed
    }
}

std::shared_ptr<void> GattNotifications::Read(const std::string& path, dbus::Bus::OnReply done)
{
    const auto wanted = std::make_shared<dbus::Bus::OnReply>(std::move(done));
    const std::uint64_t number = ++lastNumber_;
    ++reads_[path].underWay;
    readCalls_[number] =
        stack_.Call(path, bluez::kGattCharacteristic, "ReadValue", {dbus::MakeProperties({})},
                    [this, path, number, weak = std::weak_ptr(wanted)](const dbus::Reply& reply) {
                        const auto call = readCalls_.extract(number);  // until the end of this call
                        EndRead(path, !reply.IsError());
                        if (const auto still = weak.lock()) {
                            (*still)(reply);
                        }
                    });
    return wanted;
}

void GattNotifications::EndRead(const std::string& path, bool isFound)
{
    const auto reads = reads_.find(path);
    const auto latest = std::exchange(reads->second.latest, std::nullopt);
    if (--reads->second.underWay == 0) {
        reads_.erase(reads);
    }
    if (latest && !isFound) {
        Deliver(path, *latest);
    }
}

void GattNotifications::End(const std::string& path, std::uint64_t number)
{
    const auto source = sources_.find(path);
    if (source == sources_.end() || source->second.subscribers.erase(number) == 0 ||
        !source->second.subscribers.empty()) {
        return;
    }
    if (source->second.state != State::kOff && stack_.Adapter()) {
        stack_.Bus().Send({bluez::kService, path, bluez::kGattCharacteristic, "StopNotify"}, {});
    }
    sources_.erase(source);
}

}  // namespace pelacon::service::linux_radios::bluetooth
