#include <service/linux/bluetooth/GattLink.h>
#include <service/linux/dbus/Names.h>

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr std::int32_t kSmallestMtu = 23;

/// The longest value that an attribute can have.
constexpr std::size_t kMostAttributeValue = 512;

}  // namespace

GattResult GattResultOf(const dbus::Error& error)
{
    static const std::map<std::string, GattResult> kResults{
        {"org.bluez.Error.NotPermitted", GattResult::kNotPermitted},
        {"org.bluez.Error.NotAuthorized", GattResult::kNotPermitted},
        {"org.freedesktop.DBus.Error.AccessDenied", GattResult::kNotPermitted},
        {"org.bluez.Error.NotSupported", GattResult::kNotSupported},
        {"org.bluez.Error.InvalidArguments", GattResult::kInvalidValue},
        {"org.bluez.Error.InvalidValueLength", GattResult::kInvalidValue},
        {"org.bluez.Error.InProgress", GattResult::kBusy},
        {"org.bluez.Error.NotConnected", GattResult::kNotConnected},
        {"org.freedesktop.DBus.Error.UnknownObject", GattResult::kNotConnected},
        {"org.freedesktop.DBus.Error.UnknownMethod", GattResult::kNotConnected},
    };
    const auto found = kResults.find(error.name);
    return found != kResults.end() ? found->second : GattResult::kUnreachable;
}

class GattLink::Packets : private Loop::Source {
  public:
    using Got = std::function<void(const Bytes&)>;

    Packets(Loop& loop, std::shared_ptr<const FileDescriptor> socket, Got got)
        : loop_(loop), socket_(std::move(socket)), got_(std::move(got))
    {
        loop_.Add(*this);
    }
    ~Packets() override { loop_.Remove(*this); }

  private:
    Loop::Interest Wants() override { return {socket_->Get(), POLLIN, std::nullopt}; }

    void Ready(short) override
    {
        std::array<std::uint8_t, kMostAttributeValue> packet{};
        const ssize_t size = recv(socket_->Get(), packet.data(), packet.size(), MSG_DONTWAIT);
        if (size < 0 && (errno == EAGAIN || errno == EINTR)) {
            return;
        }
        if (size <= 0) {
            loop_.Remove(*this);  // with the connection, which is told otherwise
            return;
        }
        const Got got = got_;  // it may end the subscription
        got(Bytes(packet.begin(), packet.begin() + size));
    }

    Loop& loop_;
    std::shared_ptr<const FileDescriptor> socket_;
    Got got_;
};

GattLink::GattLink(Stack& stack, Discovery& discovery, Users& users, std::uint64_t address,
                   Callbacks callbacks)
    : stack_(stack),
      discovery_(discovery),
      users_(users),
      address_(address),
      callbacks_(std::move(callbacks)),
      mtu_(kSmallestMtu)
{
    stack_.Add(*this);
    ++users_.links[address_];
    limit_ = stack_.GetLoop().After(kConnectLimit, [this] { End(LinkEnd::kNotEstablished); });
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Look(); });
}

GattLink::~GattLink()
{
    stack_.Remove(*this);
    if (--users_.links.at(address_) == 0) {
        users_.links.erase(address_);
    }
    const bool isThere = state_ != State::kOver && stack_.Adapter() && device_;
    if (isThere) {
        for (const auto& [key, subscription] : subscriptions_) {
            EndSubscription(subscription);
        }
        if (!users_.links.contains(address_) && state_ != State::kSearching) {
            Disconnect();
        }
    }
}

void GattLink::Disconnect()
{
    users_.leaving->insert(address_);
    stack_.Bus().Send({bluez::kService, device_->path, bluez::kDevice, "Disconnect"}, {},
                      [leaving = users_.leaving, address = address_](const dbus::Reply&) {
                          leaving->erase(address);
                      });
}

/// Goes on as far as what BlueZ knows allows.
void GattLink::Look()
{
    if (state_ == State::kOver) {
        return;
    }
    if (!stack_.Adapter() || !stack_.Adapter()->isOn || !stack_.Mirror().IsThere()) {
        End(state_ == State::kUp ? LinkEnd::kAdapterGone : LinkEnd::kNotEstablished);
        return;
    }
    device_ = bluez::FindDevice(stack_.Mirror(), stack_.Adapter()->path, address_);
    if (state_ == State::kSearching) {
        if (device_ && device_->isConnected && users_.leaving->contains(address_)) {
            return;  // until it has left
        }
        if (device_) {
            users_.leaving->erase(address_);
            Connect();
        } else if (!search_) {
            search_.emplace(discovery_.Keep());
        }
    } else if (state_ == State::kUp) {
        if (!device_ || !device_->isConnected) {
            End(LinkEnd::kPeer);
        } else if (device_->areServicesResolved) {
            AskMtu();
        }
    }
}

void GattLink::Connect()
{
    // While it discovers, a controller takes its time to connect.
    search_.reset();
    state_ = State::kConnecting;
    connecting_ = stack_.Call(
        device_->path, bluez::kDevice, "Connect", {},
        [this](const dbus::Reply& reply) {
            const bool isUp =
                !reply.IsError() || reply.error->name == "org.bluez.Error.AlreadyConnected";
            if (isUp) {
                BecomeUp();
            } else {
                End(LinkEnd::kNotEstablished);
            }
        },
        std::chrono::minutes(1));
}

void GattLink::BecomeUp()
{
    limit_.Cancel();
    state_ = State::kUp;
    const auto connected = callbacks_.connected;
    // The answer may come before what it says is seen; a peer that left meanwhile is told as such.
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Look(); });
    connected();
}

void GattLink::End(LinkEnd why)
{
    if (state_ == State::kConnecting && stack_.Adapter() && device_ &&
        users_.links.at(address_) == 1) {
        Disconnect();
    }
    state_ = State::kOver;
    search_.reset();
    connecting_.Reset();
    askingMtu_.Reset();
    limit_.Cancel();
    subscriptions_.clear();
    reading_.clear();
    std::vector<OnRead> pending;
    for (auto& [number, operation] : operations_) {
        pending.push_back(std::move(operation.done));
    }
    operations_.clear();
    const auto ended = callbacks_.ended;
    const std::weak_ptr<void> alive = alive_;
    for (const OnRead& done : pending) {
        done(GattResult::kNotConnected, {});
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

void GattLink::ObjectAdded(const std::string&, const std::string& interface)
{
    if (interface == bluez::kDevice) {
        Look();
    }
}

void GattLink::ObjectRemoved(const std::string& path, const std::string& interface,
                             const dbus::Properties&)
{
    if (interface == bluez::kDevice && device_ && device_->path == path) {
        Look();
    }
}

void GattLink::ObjectChanged(const std::string& path, const std::string& interface,
                             const dbus::Properties& changed)
{
    if (interface == bluez::kDevice && device_ && device_->path == path) {
        Look();
        return;
    }
    const auto value = changed.find("Value");
    // A read of our own changes the property as a value that is told does.
    if (interface != bluez::kGattCharacteristic || value == changed.end() ||
        reading_.contains(path)) {
        return;
    }
    for (const auto& [key, subscription] : subscriptions_) {
        if (subscription.path == path && !subscription.packets) {
            const auto notified = callbacks_.notified;
            notified(Key(key), value->second.Or(Bytes()), subscription.isIndication);
            return;
        }
    }
}

std::int32_t GattLink::Mtu() const
{
    return mtu_;
}

/// Characteristics that appear have no MTU yet, and nothing is said when they get one.
void GattLink::AskMtu()
{
    if (discoveries_.empty() || askingMtu_) {
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
                            if (const auto* const mtu = reply.First<std::uint16_t>()) {
                                mtu_ = *mtu;
                            }
                            askingMtu_.Reset();
                            FinishDiscoveries();
                        });
        return;
    }
    FinishDiscoveries();
}

bool GattLink::HasService(const Uuid& service) const
{
    if (!IsUp() || !stack_.Adapter() || !device_ || !device_->areServicesResolved) {
        return false;
    }
    const auto services = bluez::Services(stack_.Mirror(), device_->path);
    return std::any_of(services.begin(), services.end(), [&](const bluez::Service& candidate) {
        return protocol::ParseUuid(candidate.uuid) == service;
    });
}

std::optional<bluez::Characteristic> GattLink::Find(const Key& key) const
{
    for (const auto& service : bluez::Services(stack_.Mirror(), device_->path)) {
        if (protocol::ParseUuid(service.uuid) != key.first) {
            continue;
        }
        for (auto& candidate : bluez::Characteristics(stack_.Mirror(), service.path)) {
            if (protocol::ParseUuid(candidate.uuid) == key.second) {
                return std::move(candidate);
            }
        }
    }
    return std::nullopt;
}

std::uint64_t GattLink::Begin(OnRead done)
{
    operations_[++lastOperation_].done = std::move(done);
    return lastOperation_;
}

void GattLink::Finish(std::uint64_t number, GattResult result, const Bytes& value)
{
    const auto operation = operations_.extract(number);
    if (operation.empty()) {
        return;
    }
    const auto reading = reading_.find(operation.mapped().reading);
    if (reading != reading_.end() && --reading->second == 0) {
        reading_.erase(reading);
    }
    operation.mapped().done(result, value);
}

void GattLink::FinishLater(std::uint64_t number, GattResult result)
{
    operations_.at(number).limit = stack_.GetLoop().After(
        Loop::Duration::zero(), [this, number, result] { Finish(number, result); });
}

void GattLink::Discover(Done done)
{
    const auto number =
        Begin([done = std::move(done)](GattResult result, const Bytes&) { done(result); });
    if (!IsUp()) {
        FinishLater(number, GattResult::kNotConnected);
        return;
    }
    discoveries_.push_back(number);
    operations_.at(number).limit = stack_.GetLoop().After(
        kDiscoverLimit, [this, number] { Finish(number, GattResult::kUnreachable); });
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Look(); });
}

void GattLink::FinishDiscoveries()
{
    for (const std::uint64_t number : std::exchange(discoveries_, {})) {
        if (operations_.contains(number)) {
            FinishLater(number, GattResult::kDone);
        }
    }
}

void GattLink::CallOn(const bluez::Characteristic& characteristic, const char* method,
                      const dbus::Arguments& arguments, std::uint64_t number,
                      std::function<void(const dbus::Reply&)> succeeded)
{
    operations_.at(number).call =
        stack_.Call(characteristic.path, bluez::kGattCharacteristic, method, arguments,
                    [this, number, succeeded = std::move(succeeded)](const dbus::Reply& reply) {
                        if (reply.IsError()) {
                            Finish(number, GattResultOf(*reply.error));
                        } else {
                            succeeded(reply);
                        }
                    });
}

void GattLink::Read(const Key& key, OnRead done)
{
    const auto number = Begin(std::move(done));
    const auto found = IsUp() ? Find(key) : std::nullopt;
    if (!found) {
        FinishLater(number, IsUp() ? GattResult::kNotFound : GattResult::kNotConnected);
        return;
    }
    operations_.at(number).reading = found->path;
    ++reading_[found->path];
    CallOn(*found, "ReadValue", {dbus::MakeProperties({})}, number,
           [this, number](const dbus::Reply& reply) {
               const Bytes* const value = reply.First<Bytes>();
               Finish(number, value != nullptr ? GattResult::kDone : GattResult::kUnreachable,
                      value != nullptr ? *value : Bytes());
           });
}

void GattLink::Write(const Key& key, const Bytes& value, Done done)
{
    const auto number =
        Begin([done = std::move(done)](GattResult result, const Bytes&) { done(result); });
    const auto found = IsUp() ? Find(key) : std::nullopt;
    const bool wantsAnswer = found && found->Has("write");
    if (!found) {
        FinishLater(number, IsUp() ? GattResult::kNotFound : GattResult::kNotConnected);
    } else if (!wantsAnswer && !found->Has("write-without-response")) {
        FinishLater(number, GattResult::kNotPermitted);
    } else if (value.size() > kMostAttributeValue) {
        FinishLater(number, GattResult::kInvalidValue);
    } else {
        const dbus::Value options =
            dbus::MakeProperties({{"type", wantsAnswer ? "request" : "command"}});
        CallOn(*found, "WriteValue", {value, options}, number,
               [this, number](const dbus::Reply&) { Finish(number, GattResult::kDone); });
    }
}

void GattLink::Subscribe(const Key& key, bool enable, Done done)
{
    const auto number =
        Begin([done = std::move(done)](GattResult result, const Bytes&) { done(result); });
    const auto found = IsUp() ? Find(key) : std::nullopt;
    const auto subscription = subscriptions_.find(key);
    if (!found) {
        FinishLater(number, IsUp() ? GattResult::kNotFound : GattResult::kNotConnected);
    } else if (!enable) {
        if (subscription != subscriptions_.end()) {
            EndSubscription(subscription->second);
            subscriptions_.erase(subscription);
        }
        FinishLater(number, GattResult::kDone);
    } else if (subscription != subscriptions_.end()) {
        FinishLater(number, GattResult::kDone);
    } else if (found->Has("notify")) {
        Acquire(key, *found, number);
    } else if (found->Has("indicate")) {
        StartNotify(key, *found, number);
    } else {
        FinishLater(number, GattResult::kNotPermitted);
    }
}

/// Asks for a socket, through which each value comes once. Where that cannot be had (another
/// program has it), for changes of the property.
void GattLink::Acquire(const Key& key, const bluez::Characteristic& characteristic,
                       std::uint64_t number)
{
    operations_.at(number).call = stack_.Call(
        characteristic.path, bluez::kGattCharacteristic, "AcquireNotify",
        {dbus::MakeProperties({})}, [this, key, characteristic, number](const dbus::Reply& reply) {
            const auto* const socket = reply.First<dbus::Handle>();
            if (socket == nullptr || !socket->descriptor) {
                StartNotify(key, characteristic, number);
                return;
            }
            Subscription& subscription = subscriptions_[key];
            subscription.path = characteristic.path;
            subscription.packets = std::make_unique<Packets>(
                stack_.GetLoop(), socket->descriptor, [this, key](const Bytes& value) {
                    const auto notified = callbacks_.notified;
                    notified(key, value, false);
                });
            Finish(number, GattResult::kDone);
        });
}

void GattLink::StartNotify(const Key& key, const bluez::Characteristic& characteristic,
                           std::uint64_t number)
{
    const bool isIndication = !characteristic.Has("notify");
    CallOn(characteristic, "StartNotify", {}, number,
           [this, key, path = characteristic.path, isIndication, number](const dbus::Reply&) {
               Subscription& subscription = subscriptions_[key];
               subscription.path = path;
               subscription.isIndication = isIndication;
               Finish(number, GattResult::kDone);
           });
}

/// A socket ends it by being closed.
void GattLink::EndSubscription(const Subscription& subscription)
{
    if (!subscription.packets && stack_.Adapter()) {
        stack_.Bus().Send(
            {bluez::kService, subscription.path, bluez::kGattCharacteristic, "StopNotify"}, {});
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
