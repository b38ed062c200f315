#include <service/linux/bluetooth/ServedCharacteristic.h>
#include <service/linux/dbus/Names.h>
#include <service/radio/Gatt.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

constexpr const char* kValue = "Value";

std::vector<std::string> FlagTexts(std::int32_t flags)
{
    static constexpr std::pair<std::int32_t, const char*> kTexts[]{
        {radio::kGattRead, "read"},
        {radio::kGattWrite, "write"},
        {radio::kGattWriteWithoutResponse, "write-without-response"},
        {radio::kGattNotify, "notify"},
        {radio::kGattIndicate, "indicate"},
    };
    std::vector<std::string> texts;
    for (const auto& [flag, text] : kTexts) {
        if ((flags & flag) != 0) {
            texts.emplace_back(text);
        }
    }
    return texts;
}

ServedCharacteristic::Bytes Cut(ServedCharacteristic::Bytes value)
{
    value.resize(std::min(value.size(), kMostAttributeValue));
    return value;
}

/// The error that answers a peer's request.
struct Refusal {
    const char* error;
    const char* why;
};

}  // namespace

ServedCharacteristic::ServedCharacteristic(Stack& stack, GattPeers& peers, const Uuid& uuid,
                                           std::int32_t flags, Callbacks callbacks)
    : stack_(stack), peers_(peers), uuid_(uuid), flags_(flags), callbacks_(std::move(callbacks))
{}

void ServedCharacteristic::Attach(dbus::ObjectTree& tree, const std::string& service,
                                  const std::string& path)
{
    tree_ = &tree;
    path_ = path;
    dbus::ObjectTree::Interface interface {
        {{"UUID", protocol::LongText(uuid_)},
         {"Service", dbus::ObjectPath{service}},
         {"Flags", dbus::MakeTexts(FlagTexts(flags_))}},
        {
            {"ReadValue", Handle(&ServedCharacteristic::Read)},
                {"WriteValue", Handle(&ServedCharacteristic::Write)},
                {"AcquireNotify", Handle(&ServedCharacteristic::Subscribe)},
                {"StartNotify", Handle(&ServedCharacteristic::Start)},
                {"StopNotify", Handle(&ServedCharacteristic::Stop)},
            {
                "Confirm", Handle(&ServedCharacteristic::Confirm)
            }
        }
    };
    if (Has(radio::kGattAnyNotify)) {
        // StartNotify does not name the peer, AcquireNotify does. BlueZ calls AcquireNotify if
        // there is this property, and StartNotify once it has been refused.
        interface.properties.emplace("NotifyAcquired", false);
    }
    tree.Add(path, bluez::kGattCharacteristic, std::move(interface));
}

void ServedCharacteristic::Detach()
{
    tree_ = nullptr;
    subscribers_.clear();
    isStarted_ = false;
    readParts_.clear();
    writtenParts_.clear();
    asking_.Reset();
    unanswered_.Cancel();
    UpdateSubscribers();
    FinishSent(GattStatus::kNotConnected);
    for (Waiting& waiting : std::exchange(waiting_, {})) {
        CallLater(std::move(waiting.done), GattStatus::kNotConnected);
    }
    while (!indications_.empty()) {
        Finish(indications_.begin(), GattStatus::kNotConnected);
    }
}

dbus::ObjectTree::Handler ServedCharacteristic::Handle(Answer answer)
{
    return [this, answer](const dbus::Incoming& call, dbus::Invocation invocation) {
        if (!stack_.Adapter() || call.sender != stack_.Mirror().Owner()) {
            invocation.Fail({dbus::kAccessDenied, "this is for BlueZ"});
            return;
        }
        try {
            (this->*answer)(call, invocation);
        } catch (const Refusal& refusal) {
            invocation.Fail({refusal.error, refusal.why});
        }
    };
}

/// Reads the options that BlueZ gives with a call.
ServedCharacteristic::Request ServedCharacteristic::Note(const dbus::Incoming& call,
                                                         std::size_t options)
{
    const dbus::Properties given = options < call.arguments.size()
                                       ? dbus::ReadProperties(call.arguments[options])
                                       : dbus::Properties();
    const auto device = dbus::Find<dbus::ObjectPath>(given, "device");
    const auto mtu = dbus::Find<std::uint16_t>(given, "mtu").value_or(0);
    const auto peer = device ? peers_.Note(device->text, mtu) : std::nullopt;
    if (!peer) {
        throw Refusal{"org.bluez.Error.Failed", "no such device"};
    }
    return {*peer, dbus::Find<std::uint16_t>(given, "offset").value_or(0)};
}

void ServedCharacteristic::Read(const dbus::Incoming& call, dbus::Invocation& invocation)
{
    const Request request = Note(call, 0);
    if (!Has(radio::kGattRead)) {
        throw Refusal{"org.bluez.Error.NotPermitted", "not to be read"};
    }
    // All parts are of the value as it was with the first one.
    Bytes& value = readParts_[request.peer];
    if (request.offset == 0) {
        auto now = callbacks_.read(request.peer);
        if (!now) {
            throw Refusal{"org.bluez.Error.Failed", "no value"};
        }
        value = Cut(std::move(*now));
    }
    if (request.offset > value.size()) {
        throw Refusal{"org.bluez.Error.InvalidOffset", "behind the value's end"};
    }
    const auto begin = value.begin() + static_cast<std::ptrdiff_t>(request.offset);
    invocation.Return({Bytes(begin, value.end())});
}

void ServedCharacteristic::Write(const dbus::Incoming& call, dbus::Invocation& invocation)
{
    const Request request = Note(call, 1);
    const Bytes* const part = call.arguments.front().As<Bytes>();
    if (!Has(radio::kGattAnyWrite)) {
        throw Refusal{"org.bluez.Error.NotPermitted", "not to be written"};
    }
    if (part == nullptr || request.offset + part->size() > kMostAttributeValue) {
        throw Refusal{"org.bluez.Error.InvalidValueLength", "too long"};
    }
    Bytes& value = writtenParts_[request.peer];
    if (request.offset > value.size()) {
        throw Refusal{"org.bluez.Error.InvalidOffset", "behind what was written"};
    }
    value.resize(request.offset);
    value.insert(value.end(), part->begin(), part->end());
    callbacks_.written(request.peer, Bytes(value));
    invocation.Return();
}

/// AcquireNotify: a peer subscribes to notifications or indications.
void ServedCharacteristic::Subscribe(const dbus::Incoming& call, dbus::Invocation&)
{
    subscribers_.insert(Note(call, 0).peer);
    UpdateSubscribers();
    throw Refusal{"org.bluez.Error.NotSupported", "values come as changes of the property"};
}

void ServedCharacteristic::Start(const dbus::Incoming&, dbus::Invocation& invocation)
{
    isStarted_ = true;
    invocation.Return();
}

/// The last subscription has ended.
void ServedCharacteristic::Stop(const dbus::Incoming&, dbus::Invocation& invocation)
{
    isStarted_ = false;
    subscribers_.clear();
    UpdateSubscribers();
    invocation.Return();
}

void ServedCharacteristic::Confirm(const dbus::Incoming&, dbus::Invocation& invocation)
{
    invocation.Return();
    if (!indications_.empty() && --indications_.front().missing == 0) {
        Finish(indications_.begin(), GattStatus::kDone);
    }
}

void ServedCharacteristic::PeerDisconnected(std::uint64_t peer)
{
    readParts_.erase(peer);
    writtenParts_.erase(peer);
    const auto device = stack_.Adapter()
                            ? bluez::FindDevice(stack_.Mirror(), stack_.Adapter()->path, peer)
                            : std::nullopt;
    if (!device || !device->isPaired) {
        subscribers_.erase(peer);  // BlueZ keeps those of paired devices, and does not repeat them
    }
    UpdateSubscribers();
    for (auto next = indications_.begin(); next != indications_.end();) {
        const auto indication = next++;
        if (indication->peers.erase(peer) > 0) {
            indication->missing = std::min(indication->missing, indication->peers.size());
            if (indication->missing == 0) {
                Finish(indication,
                       indication->peers.empty() ? GattStatus::kNotConnected : GattStatus::kDone);
            }
        }
    }
}

std::vector<std::uint64_t> ServedCharacteristic::Subscribers() const
{
    std::vector<std::uint64_t> connected;
    std::copy_if(subscribers_.begin(), subscribers_.end(), std::back_inserter(connected),
                 [this](std::uint64_t peer) { return peers_.IsConnected(peer); });
    return connected;
}

void ServedCharacteristic::UpdateSubscribers()
{
    const std::vector<std::uint64_t> now = Subscribers();
    if (std::exchange(lastSubscribers_, now) != now) {
        callbacks_.subscribed(now);
    }
}

void ServedCharacteristic::Notify(const Bytes& value, Done done)
{
    if (tree_ == nullptr || (!isStarted_ && Subscribers().empty())) {
        CallLater(std::move(done), GattStatus::kDone);
    } else if (waiting_.size() + indications_.size() >= kMostWaiting) {
        CallLater(std::move(done), GattStatus::kBusy);
    } else {
        waiting_.push_back({Cut(value), std::move(done)});
        SendWaiting();
    }
}

/// BlueZ queues any number of values and sends them as it can. The next ones are sent when it has
/// received those before, so that they do not pile up there.
void ServedCharacteristic::SendWaiting()
{
    if (asking_ || waiting_.empty()) {
        return;
    }
    for (std::size_t i = 0; i < kMostAtOnce && !waiting_.empty(); ++i) {
        Waiting next = std::move(waiting_.front());
        waiting_.pop_front();
        Send(std::move(next));
    }
    asking_ = stack_.Call("/", dbus::kPeer, "Ping", {}, [this](const dbus::Reply& reply) {
        if (reply.IsError() && dbus::IsSilence(*reply.error)) {
            unanswered_ =
                stack_.GetLoop().After(kUntilEnded, [this] { Received(GattStatus::kUnreachable); });
        } else {
            Received(GattStatus::kDone);
        }
    });
}

void ServedCharacteristic::Received(GattStatus result)
{
    asking_.Reset();
    FinishSent(result);
    SendWaiting();
}

void ServedCharacteristic::Send(Waiting next)
{
    tree_->Set(path_, bluez::kGattCharacteristic, kValue, std::move(next.value));
    const std::vector<std::uint64_t> to = Subscribers();
    // If there are both, most peers choose notifications, which are not confirmed.
    if (to.empty() || Has(radio::kGattNotify)) {
        sent_.push_back(std::move(next.done));
        return;
    }
    indications_.push_back({{to.begin(), to.end()}, to.size(), std::move(next.done), {}});
    const auto added = std::prev(indications_.end());
    // It stays until it is confirmed, or its peers have left: a late confirmation is not of
    // another.
    added->limit = stack_.GetLoop().After(peers_.confirmLimit, [this, added] {
        CallLater(std::exchange(added->done, nullptr), GattStatus::kUnreachable);
    });
}

void ServedCharacteristic::FinishSent(GattStatus result)
{
    for (Done& done : std::exchange(sent_, {})) {
        CallLater(std::move(done), result);
    }
}

void ServedCharacteristic::NotifyOne(std::uint64_t peer, const Bytes& value, Done done)
{
    const std::vector<std::uint64_t> to = Subscribers();
    if (std::find(to.begin(), to.end(), peer) == to.end()) {
        CallLater(std::move(done), GattStatus::kNotPermitted);
    } else if (to.size() > 1) {
        CallLater(std::move(done), GattStatus::kNotSupported);
    } else {
        Notify(value, std::move(done));
    }
}

void ServedCharacteristic::CallLater(Done done, GattStatus result)
{
    const std::uint64_t number = ++lastCall_;
    calls_[number] = stack_.GetLoop().After(
        Loop::Duration::zero(), [this, number, result, done = std::move(done)] {
            const auto timer = calls_.extract(number);  // until the end of this call
            done(result);
        });
}

void ServedCharacteristic::Finish(Indications::iterator indication, GattStatus result)
{
    if (Done done = std::move(indication->done)) {
        CallLater(std::move(done), result);
    }
    indications_.erase(indication);
}

}  // namespace pelacon::service::linux_radios::bluetooth
