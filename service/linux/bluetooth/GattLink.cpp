#include <service/linux/bluetooth/GattLink.h>
#include <service/linux/dbus/Names.h>

#include <algorithm>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// Whether the device, or BlueZ, did not answer at all: most often because the connection is about
/// to end.
bool IsBrokenOff(const dbus::Error& error)
{
    return dbus::IsSilence(error) || (error.name == "org.bluez.Error.Failed" &&
                                      error.message.find("ATT error") == std::string::npos);
}

/// Whether the device is being connected already: by another link, another program, or an earlier
/// attempt of this link; or whether the kernel still ends the connection before: it may do so for a
/// while after BlueZ has signalled the end. BlueZ 5.66 has no names of its own for these errors.
bool IsBusy(const dbus::Error& error)
{
    return error.name == "org.bluez.Error.InProgress" ||
           (error.name == "org.bluez.Error.Failed" &&
            (error.message == "Operation already in progress" ||
             error.message == "Input/output error"));
}

/// BlueZ may fail an operation before it signals that the connection has ended.
bool IsConnected(const Stack& stack, const std::optional<bluez::Device>& device)
{
    const auto now =
        stack.Adapter() && device ? bluez::DeviceAt(stack.Mirror(), device->path) : std::nullopt;
    return now && now->isConnected;
}

}  // namespace

GattLink::GattLink(GattCentral& central, std::uint64_t address, Callbacks callbacks)
    : central_(central), stack_(central.stack), address_(address), callbacks_(std::move(callbacks))
{
    stack_.Add(*this);
    ++central_.shared[address_].links;
    limit_ =
        stack_.GetLoop().After(central_.connectLimit, [this] { End(GattReason::kNotEstablished); });
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Look(); });
}

GattLink::~GattLink()
{
    stack_.Remove(*this);
    subscriptions_.clear();  // before the connection that they are on
    Leave();
}

/// The device has one link fewer. The last one ends the connection, or the attempt, if it is ours.
void GattLink::Leave()
{
    if (!std::exchange(isCounted_, false)) {
        return;
    }
    const auto shared = central_.shared.find(address_);
    shared->second.isOurs |= claims_ > 0;
    if (--shared->second.links > 0) {
        return;
    }
    const bool isOurs = shared->second.isOurs;
    central_.shared.erase(shared);
    if (!isOurs || !stack_.Adapter() || !device_) {
        return;
    }
    const auto waiting = std::make_shared<char>();
    std::erase_if(central_.leaving, [](const auto& entry) { return entry.second.expired(); });
    central_.leaving[address_] = waiting;
    stack_.Bus().Send({bluez::kService, device_->path, bluez::kDevice, "Disconnect"}, {},
                      [&stack = stack_, path = device_->path, waiting](const dbus::Reply&) {
                          if (stack.Adapter()) {
                              stack.Refresh(path, bluez::kDevice, "Connected", waiting);
                          }
                      });
}

/// Takes the next steps that the state of BlueZ's objects permits.
void GattLink::Look()
{
    if (state_ == State::kOver) {
        return;
    }
    if (!stack_.Adapter() || !stack_.Adapter()->isOn || !stack_.Mirror().IsThere()) {
        End(GattReason::kLocal);
        return;
    }
    device_ = bluez::FindDevice(stack_.Mirror(), stack_.Adapter()->path, address_);
    if (state_ == State::kSearching) {
        if (device_ && device_->isConnected && central_.IsLeaving(address_)) {
            later_ = stack_.GetLoop().After(kNextTry, [this] { Look(); });
            return;
        }
        if (device_) {
            central_.leaving.erase(address_);
            Connect();
        } else if (!search_) {
            search_.emplace(central_.discovery.Keep());
        }
    } else if (state_ == State::kConnecting && !device_) {
        End(GattReason::kNotEstablished);
    } else if (state_ == State::kUp) {
        if (!device_ || !device_->isConnected) {
            later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { End(WhyEnded()); });
        } else {
            Update();
            AskMtu();
        }
    }
}

/// Asks BlueZ for the connection, again and again until it answers. BlueZ 5.66 drops an attempt,
/// and never answers, if it only then notices that the connection before has ended; while an
/// attempt is under way it refuses another one.
void GattLink::Connect()
{
    // A controller connects slowly while it discovers.
    search_.reset();
    state_ = State::kConnecting;
    const bool isClaim = !IsConnected(stack_, device_);
    claims_ += isClaim ? 1 : 0;
    attempts_.push_back(stack_.Call(
        device_->path, bluez::kDevice, "Connect", {},
        [this, isClaim](const dbus::Reply& reply) { Answered(reply, isClaim); },
        std::chrono::minutes(1)));
    later_ = stack_.GetLoop().After(kNextTry, [this] { Connect(); });
}

/// `isClaim`: whether this attempt was counted as one that may establish the connection. Attempts
/// may be answered in another order than they were made.
void GattLink::Answered(const dbus::Reply& reply, bool isClaim)
{
    const bool isBusy = reply.IsError() && IsBusy(*reply.error);
    const bool wasConnected =
        reply.IsError() && reply.error->name == "org.bluez.Error.AlreadyConnected";
    if (isClaim && (isBusy || wasConnected)) {
        --claims_;
    }
    if (isAccepted_ || isBusy) {
        return;
    }
    if (reply.IsError() && !wasConnected) {
        End(GattReason::kNotEstablished);
        return;
    }
    // BlueZ does not always signal that the device is connected, and replies the same if the peer
    // has left meanwhile: the property is read.
    later_.Cancel();
    isAccepted_ = true;
    stack_.Refresh(device_->path, bluez::kDevice, "Connected");
}

/// BlueZ has connected; `isConnected` is what the property Connected was afterwards.
void GattLink::Accepted(bool isConnected)
{
    if (!isConnected) {
        End(GattReason::kNotEstablished);
        return;
    }
    limit_.Cancel();
    state_ = State::kUp;
    const auto connected = callbacks_.connected;
    connected();
}

GattReason GattLink::WhyEnded() const
{
    using Reason = DeviceDisconnected::Reason;
    const auto reason = central_.connections.WhyEnded(address_);
    if (reason == Reason::kTimeout) {
        return GattReason::kTimeout;
    }
    return reason == Reason::kLocal ? GattReason::kLocal : GattReason::kPeer;
}

void GattLink::End(GattReason why)
{
    if (state_ == State::kUp) {  // there is no connection any more
        central_.shared.at(address_).isOurs = false;
        claims_ = 0;
    }
    Leave();
    state_ = State::kOver;
    search_.reset();
    attempts_.clear();
    askingMtu_.Reset();
    limit_.Cancel();
    later_.Cancel();
    subscriptions_.clear();
    subscribing_.clear();
    std::vector<OnRead> pending;
    for (auto& [number, operation] : operations_) {
        pending.push_back(std::move(operation.done));
    }
    operations_.clear();
    const auto ended = callbacks_.ended;
    const std::weak_ptr<void> alive = alive_;
    for (const OnRead& done : pending) {
        done(GattStatus::kNotConnected, {});
        if (alive.expired()) {
            return;
        }
    }
    ended(why);
}

void GattLink::AdapterChanged()
{
    Look();
}

void GattLink::ObjectAdded(const std::string& path, const std::string& interface)
{
    bool isOurs = false;
    if (interface == bluez::kDevice) {
        const auto device = bluez::DeviceAt(stack_.Mirror(), path);
        isOurs = device && device->address == address_;
    } else if (interface == bluez::kGattService) {
        isOurs = device_ && path.starts_with(device_->path);
    }
    if (isOurs) {
        Look();
    }
    if (interface == bluez::kGattCharacteristic) {
        SubscribeAgain();
    }
}

void GattLink::ObjectRemoved(const std::string& path, const std::string& interface,
                             const dbus::Properties&)
{
    const bool isOurs = device_ && path.starts_with(device_->path);
    if (isOurs && (interface == bluez::kDevice || interface == bluez::kGattService)) {
        Look();
    }
    if (interface == bluez::kGattCharacteristic) {
        for (auto& [key, subscription] : subscriptions_) {
            // One that is not established yet ends with BlueZ's reply.
            if (subscription && subscription->Path() == path && !subscribing_.contains(key)) {
                subscription.reset();
            }
        }
    }
}

void GattLink::ObjectChanged(const std::string& path, const std::string& interface,
                             const dbus::Properties& changed)
{
    if (interface == bluez::kDevice && device_ && device_->path == path) {
        const auto connected = dbus::Find<bool>(changed, "Connected");
        if (state_ == State::kConnecting && isAccepted_ && connected) {
            Accepted(*connected);
        } else {
            Look();
        }
    }
}

void GattLink::Update()
{
    GattRemote now{remote_.mtu, {}};
    if (device_->areServicesResolved) {
        for (const auto& service : bluez::Services(stack_.Mirror(), device_->path)) {
            if (const auto uuid = protocol::ParseUuid(service.uuid)) {
                now.services.insert(*uuid);
            }
        }
    }
    if (now != remote_) {
        remote_ = std::move(now);
        callbacks_.changed(remote_);
    }
}

/// Characteristics that appear have no MTU yet, and BlueZ does not signal it.
void GattLink::AskMtu()
{
    if (!device_->areServicesResolved || askingMtu_) {
        return;
    }
    if (isMtuKnown_) {
        FinishDiscoveries();
        return;
    }
    for (const auto& service : bluez::Services(stack_.Mirror(), device_->path)) {
        const auto all = bluez::Characteristics(stack_.Mirror(), service.path);
        if (all.empty()) {
            continue;
        }
        askingMtu_ =
            stack_.Call(all.front().path, dbus::kProperties, "Get",
                        {bluez::kGattCharacteristic, "MTU"}, [this](const dbus::Reply& reply) {
                            askingMtu_.Reset();
                            if (const auto* const mtu = reply.First<std::uint16_t>()) {
                                isMtuKnown_ = true;
                                remote_.mtu = *mtu;
                                callbacks_.changed(remote_);
                            }
                            FinishDiscoveries();
                        });
        return;
    }
    FinishDiscoveries();
}

std::optional<bluez::Characteristic> GattLink::Find(const Key& key) const
{
    return device_
               ? bluez::FindCharacteristic(stack_.Mirror(), device_->path, key.first, key.second)
               : std::nullopt;
}

std::uint64_t GattLink::Begin(OnRead done)
{
    operations_[++lastOperation_].done = std::move(done);
    return lastOperation_;
}

void GattLink::Finish(std::uint64_t number, GattStatus result, const Bytes& value)
{
    const auto operation = operations_.extract(number);
    if (operation.empty()) {
        return;
    }
    operation.mapped().done(result, value);
}

void GattLink::FinishLater(std::uint64_t number, GattStatus result)
{
    operations_.at(number).limit = stack_.GetLoop().After(
        Loop::Duration::zero(), [this, number, result] { Finish(number, result); });
}

void GattLink::Discover(Done done)
{
    const auto number =
        Begin([done = std::move(done)](GattStatus result, const Bytes&) { done(result); });
    if (!IsUp()) {
        FinishLater(number, GattStatus::kNotConnected);
        return;
    }
    discoveries_.push_back(number);
    operations_.at(number).limit = stack_.GetLoop().After(
        central_.discoverLimit, [this, number] { Finish(number, GattStatus::kUnreachable); });
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Look(); });
}

void GattLink::FinishDiscoveries()
{
    for (const std::uint64_t number : std::exchange(discoveries_, {})) {
        if (operations_.contains(number)) {
            FinishLater(number, GattStatus::kDone);
        }
    }
}

void GattLink::Fail(std::uint64_t number, const dbus::Error& error)
{
    if (!IsConnected(stack_, device_)) {
        Finish(number, GattStatus::kNotConnected);
    } else if (IsBrokenOff(error)) {
        operations_.at(number).limit = stack_.GetLoop().After(
            kUntilEnded, [this, number, result = GattStatusOf(error)] { Finish(number, result); });
    } else {
        Finish(number, GattStatusOf(error));
    }
}

void GattLink::Read(const Key& key, OnRead done)
{
    const auto number = Begin(std::move(done));
    const auto found = IsUp() ? Find(key) : std::nullopt;
    if (!found) {
        FinishLater(number, IsUp() ? GattStatus::kNotFound : GattStatus::kNotConnected);
        return;
    }
    operations_.at(number).reading =
        central_.notifications.Read(found->path, [this, number](const dbus::Reply& reply) {
            const Bytes* const value = reply.First<Bytes>();
            if (reply.IsError()) {
                Fail(number, *reply.error);
            } else {
                Finish(number, value != nullptr ? GattStatus::kDone : GattStatus::kUnreachable,
                       value != nullptr ? *value : Bytes());
            }
        });
}

void GattLink::Write(const Key& key, const Bytes& value, Done done)
{
    const auto number =
        Begin([done = std::move(done)](GattStatus result, const Bytes&) { done(result); });
    const auto found = IsUp() ? Find(key) : std::nullopt;
    const bool wantsAnswer = found && found->Has("write");
    if (!found) {
        FinishLater(number, IsUp() ? GattStatus::kNotFound : GattStatus::kNotConnected);
    } else if (!wantsAnswer && !found->Has("write-without-response")) {
        FinishLater(number, GattStatus::kNotPermitted);
    } else if (value.size() > kMostAttributeValue) {
        FinishLater(number, GattStatus::kInvalidValue);
    } else {
        const dbus::Value options =
            dbus::MakeProperties({{"type", wantsAnswer ? "request" : "command"}});
        operations_.at(number).call =
            stack_.Call(found->path, bluez::kGattCharacteristic, "WriteValue", {value, options},
                        [this, number](const dbus::Reply& reply) {
                            if (reply.IsError()) {
                                Fail(number, *reply.error);
                            } else {
                                Finish(number, GattStatus::kDone);
                            }
                        });
    }
}

std::unique_ptr<GattNotifications::Subscription> GattLink::SubscribeTo(
    const bluez::Characteristic& characteristic, const Key& key,
    GattNotifications::Established established)
{
    return central_.notifications.Subscribe(
        characteristic,
        [this, key](const Bytes& value, bool isIndication) {
            const auto notified = callbacks_.notified;
            notified(key, value, isIndication);
        },
        std::move(established));
}

void GattLink::Subscribe(const Key& key, bool enable, Done done)
{
    const auto number =
        Begin([done = std::move(done)](GattStatus result, const Bytes&) { done(result); });
    const auto found = IsUp() ? Find(key) : std::nullopt;
    const auto before = subscriptions_.find(key);
    if (!found) {
        FinishLater(number, IsUp() ? GattStatus::kNotFound : GattStatus::kNotConnected);
    } else if (subscribing_.contains(key)) {
        FinishLater(number, GattStatus::kBusy);
    } else if (!enable) {
        subscriptions_.erase(key);
        FinishLater(number, GattStatus::kDone);
    } else if (before != subscriptions_.end() && before->second) {
        FinishLater(number, GattStatus::kDone);
    } else if (!found->Has("notify") && !found->Has("indicate")) {
        FinishLater(number, GattStatus::kNotPermitted);
    } else {
        subscribing_.insert(key);
        subscriptions_[key] =
            SubscribeTo(*found, key, [this, key, number](const std::optional<dbus::Error>& error) {
                subscribing_.erase(key);
                if (error) {
                    subscriptions_.erase(key);
                    Fail(number, *error);
                } else {
                    Finish(number, GattStatus::kDone);
                }
            });
    }
}

/// To characteristics that the device shows again, after its services have changed.
void GattLink::SubscribeAgain()
{
    for (auto& [key, subscription] : subscriptions_) {
        const auto found = subscription ? std::nullopt : Find(key);
        if (found) {
            subscription = SubscribeTo(*found, key,
                                       [this, lost = key](const std::optional<dbus::Error>& error) {
                                           if (error) {
                                               subscriptions_.erase(lost);
                                           }
                                       });
        }
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
