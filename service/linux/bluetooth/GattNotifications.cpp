#include <service/linux/bluetooth/GattNotifications.h>

#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

GattNotifications::Reading::Reading(GattNotifications& all, std::string path)
    : all_(all), path_(std::move(path))
{
    ++all_.reading_[path_];
}

GattNotifications::Reading::~Reading()
{
    if (--all_.reading_.at(path_) == 0) {
        all_.reading_.erase(path_);
    }
}

GattNotifications::GattNotifications(Stack& stack) : stack_(stack)
{
    stack_.Add(*this);
}

GattNotifications::~GattNotifications()
{
    stack_.Remove(*this);
}

std::unique_ptr<GattNotifications::Subscription> GattNotifications::Subscribe(
    const bluez::Characteristic& characteristic, Got got, Done done)
{
    const std::string& path = characteristic.path;
    Source& source = sources_[path];
    const std::uint64_t number = ++lastNumber_;
    source.subscribers.emplace(number, Subscriber{std::move(got), std::move(done)});
    if (source.state == State::kOn) {
        source.later = stack_.GetLoop().After(Loop::Duration::zero(),
                                              [this, path] { Finish(path, GattStatus::kDone); });
    } else if (source.state == State::kOff) {
        source.state = State::kStarting;
        source.isIndication = !characteristic.Has("notify");
        if (source.isIndication) {
            Start(path);
        } else {
            Acquire(path);
        }
    }
    return std::make_unique<Subscription>(*this, path, number);
}

/// Asks for a socket, through which each value comes once. Where that cannot be had (another
/// program has it), for changes of the property.
void GattNotifications::Acquire(const std::string& path)
{
    sources_.at(path).call =
        stack_.Call(path, bluez::kGattCharacteristic, "AcquireNotify", {dbus::MakeProperties({})},
                    [this, path](const dbus::Reply& reply) {
                        const auto* const socket = reply.First<dbus::Handle>();
                        if (reply.IsError() && dbus::IsSilence(*reply.error)) {
                            Finish(path, GattStatusOf(*reply.error));
                            return;
                        }
                        if (socket == nullptr || !socket->descriptor) {
                            Start(path);
                            return;
                        }
                        sources_.at(path).packets = std::make_unique<PacketSocket>(
                            stack_.GetLoop(), socket->descriptor,
                            [this, path](const Bytes& value) { Deliver(path, value); });
                        Finish(path, GattStatus::kDone);
                    });
}

void GattNotifications::Start(const std::string& path)
{
    sources_.at(path).call = stack_.Call(
        path, bluez::kGattCharacteristic, "StartNotify", {},
        [this, path](const dbus::Reply& reply) {
            Finish(path, reply.IsError() ? GattStatusOf(*reply.error) : GattStatus::kDone);
        });
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

/// Tells those who have not been told yet.
void GattNotifications::Finish(const std::string& path, GattStatus result)
{
    sources_.at(path).state = result == GattStatus::kDone ? State::kOn : State::kOff;
    ForEachSubscriber(path, [result](Subscriber& subscriber, bool) {
        if (const Done done = std::exchange(subscriber.done, nullptr)) {
            done(result);
        }
    });
}

void GattNotifications::Deliver(const std::string& path, const Bytes& value)
{
    ForEachSubscriber(path, [&](const Subscriber& subscriber, bool isIndication) {
        const Got got = subscriber.got;
        got(value, isIndication);
    });
}

void GattNotifications::ObjectChanged(const std::string& path, const std::string& interface,
                                      const dbus::Properties& changed)
{
    const auto value = changed.find("Value");
    const auto source = sources_.find(path);
    if (interface == bluez::kGattCharacteristic && value != changed.end() &&
        source != sources_.end() && !source->second.packets && !reading_.contains(path)) {
        Deliver(path, value->second.Or(Bytes()));
    }
}

/// A socket ends the subscription by being closed.
void GattNotifications::End(const std::string& path, std::uint64_t number)
{
    const auto source = sources_.find(path);
    if (source == sources_.end() || source->second.subscribers.erase(number) == 0 ||
        !source->second.subscribers.empty()) {
        return;
    }
    if (source->second.state != State::kOff && !source->second.packets && stack_.Adapter()) {
        stack_.Bus().Send({bluez::kService, path, bluez::kGattCharacteristic, "StopNotify"}, {});
    }
    sources_.erase(source);
}

}  // namespace pelacon::service::linux_radios::bluetooth
