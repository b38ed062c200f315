#include <service/linux/ByteReader.h>
#include <service/linux/bluetooth/Advertisements.h>
#include <service/linux/bluetooth/AdvertisingData.h>
#include <service/linux/bluetooth/Sockets.h>
#include <service/linux/dbus/Names.h>

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

using radio::AdvertisementKind;

namespace {

constexpr std::uint16_t kAddExtendedParameters = 0x0054;
constexpr std::uint16_t kAddExtendedData = 0x0055;

constexpr std::uint32_t kFlagConnectable = 1U << 0U;
constexpr std::uint32_t kFlagIntervals = 1U << 14U;
constexpr std::uint32_t kFlagTxPower = 1U << 15U;

radio::Outcome OutcomeOf(ManagementStatus status)
{
    switch (status) {
        case ManagementStatus::kSuccess:
            return radio::Outcome::kDone;
        case ManagementStatus::kPermissionDenied:
            return radio::Outcome::kNotPermitted;
        case ManagementStatus::kNotPowered:
        case ManagementStatus::kInvalidIndex:
        case ManagementStatus::kBlockedByRfkill:
            return radio::Outcome::kNoAdapter;
        default:
            return radio::Outcome::kFailed;
    }
}

/// In the controller's unit.
std::uint32_t Slots(std::chrono::milliseconds interval)
{
    return static_cast<std::uint32_t>(interval.count() * 8 / 5);
}

std::vector<std::uint8_t> EncodeParameters(std::uint8_t instance, const radio::Advertising& wanted,
                                           std::uint32_t supported)
{
    std::uint32_t flags = supported & (kFlagIntervals | kFlagTxPower);
    if (wanted.kind == AdvertisementKind::kConnectable) {
        flags |= kFlagConnectable;
    }
    std::vector<std::uint8_t> parameters;
    AppendNumber(parameters, instance);
    AppendNumber(parameters, flags);
    AppendNumber(parameters, std::uint16_t{0});  // how long each turn lasts: the kernel's choice
    AppendNumber(parameters, std::uint16_t{0});  // until it is removed
    AppendNumber(parameters, Slots(wanted.shortestInterval));
    AppendNumber(parameters, Slots(std::max(wanted.shortestInterval, wanted.longestInterval)));
    AppendNumber(parameters, static_cast<std::uint8_t>(wanted.txPower));
    return parameters;
}

/// The kernel makes an advertisement scannable only if it has a scan response: an empty one is sent
/// as one zero byte.
std::vector<std::uint8_t> ScanResponseOf(const radio::Advertising& wanted)
{
    if (wanted.kind == AdvertisementKind::kNonConnectable) {
        return {};
    }
    if (wanted.kind == AdvertisementKind::kScannable && wanted.scanResponse.empty()) {
        return {0};  // a length of zero ends the structures
    }
    return wanted.scanResponse;
}

std::vector<std::uint8_t> EncodeData(std::uint8_t instance, const radio::Advertising& wanted)
{
    const std::vector<std::uint8_t> scanResponse = ScanResponseOf(wanted);
    std::vector<std::uint8_t> parameters{instance, static_cast<std::uint8_t>(wanted.data.size()),
                                         static_cast<std::uint8_t>(scanResponse.size())};
    parameters.insert(parameters.end(), wanted.data.begin(), wanted.data.end());
    parameters.insert(parameters.end(), scanResponse.begin(), scanResponse.end());
    return parameters;
}

dbus::Value MakeUuids(const std::vector<Uuid>& uuids)
{
    std::vector<std::string> texts;
    texts.reserve(uuids.size());
    for (const Uuid& uuid : uuids) {
        texts.push_back(protocol::LongText(uuid));
    }
    return dbus::MakeTexts(texts);
}

/// The fields that BlueZ is to assemble. It adds flags by itself.
dbus::Properties PropertiesOf(const radio::Advertising& wanted)
{
    AdvertisingFields fields;
    ReadStructures(wanted.data, fields);
    ReadStructures(ScanResponseOf(wanted), fields);
    const bool isConnectable = wanted.kind == AdvertisementKind::kConnectable;
    dbus::Properties properties{{"Type", isConnectable ? "peripheral" : "broadcast"}};
    const auto add = [&properties](const char* name, dbus::Value value) {
        properties.emplace(name, std::move(value));
    };
    if (!fields.services.empty()) {
        add("ServiceUUIDs", MakeUuids(fields.services));
    }
    if (!fields.solicitedServices.empty()) {
        add("SolicitUUIDs", MakeUuids(fields.solicitedServices));
    }
    if (!fields.manufacturerData.empty()) {
        dbus::Dictionary all{"q", "v", {}};
        for (const auto& [company, data] : fields.manufacturerData) {
            all.entries.emplace_back(company, dbus::InVariant(data));
        }
        add("ManufacturerData", std::move(all));
    }
    if (!fields.serviceData.empty()) {
        dbus::Dictionary all{"s", "v", {}};
        for (const auto& [service, data] : fields.serviceData) {
            all.entries.emplace_back(protocol::LongText(service), dbus::InVariant(data));
        }
        add("ServiceData", std::move(all));
    }
    if (!fields.others.empty()) {
        dbus::Dictionary all{"y", "v", {}};
        for (const auto& [type, data] : fields.others) {
            all.entries.emplace_back(type, dbus::InVariant(data));
        }
        add("Data", std::move(all));
    }
    if (!fields.name.empty()) {
        add("LocalName", fields.name);
    }
    if (fields.appearance) {
        add("Appearance", *fields.appearance);
    }
    return properties;
}

radio::Outcome OutcomeOf(const dbus::Error& error)
{
    if (error.name == dbus::kAccessDenied) {
        return radio::Outcome::kNotPermitted;
    }
    return error.name == "org.bluez.Error.NotPermitted" ? radio::Outcome::kLimitReached
                                                        : radio::Outcome::kFailed;
}

}  // namespace

Advertisements::Advertisements(Stack& stack, KernelItems& items, ManagementLink::OpenSocket open,
                               std::function<void()> wayChanged)
    : stack_(stack),
      items_(items),
      wayChanged_(std::move(wayChanged)),
      management_(stack.GetLoop(), std::move(open),
                  [this](const ManagementEvent& event) { Received(event); })
{
    stack_.Add(*this);
}

Advertisements::~Advertisements()
{
    stack_.Remove(*this);
    for (auto& [number, entry] : entries_) {
        Withdraw(entry);
    }
    if (management_.IsOpen()) {
        management_.Close();  // sends what waits
        for (const KernelItems::Item& instance : items_.All(KernelItems::Kind::kAdvertisement)) {
            items_.Remove(instance);
        }
    }
}

std::uint16_t Advertisements::Controller() const
{
    return bluez::ControllerOf(stack_.Adapter()->path).value_or(kNoController);
}

std::uint64_t Advertisements::Add(radio::Advertising wanted, OnOutcome started, OnOutcome ended)
{
    const std::uint64_t number = ++lastNumber_;
    Entry& entry = entries_[number];
    entry.wanted = std::move(wanted);
    entry.started = std::move(started);
    entry.ended = std::move(ended);
    Begin(number);
    return number;
}

void Advertisements::Remove(std::uint64_t number)
{
    if (auto removed = entries_.extract(number)) {
        Withdraw(removed.mapped());
    }
}

void Advertisements::AdapterChanged()
{
    const bool isOn = stack_.Adapter() && stack_.Adapter()->isOn;
    const bool wasOff = !std::exchange(isOn_, isOn);
    if (!isOn || stack_.Adapter()->path != adapter_) {
        FailAll(radio::Outcome::kNoAdapter);
    }
    adapter_ = stack_.Adapter() ? stack_.Adapter()->path : "";
    if (stack_.Adapter() && way_ == Way::kNone) {
        way_ = OpenManagement() ? Way::kRaw : Way::kRebuilt;
    } else if (isOn && wasOff && management_.IsOpen()) {
        RemoveLeftovers();  // what could not be removed while it was off
    }
}

bool Advertisements::OpenManagement()
{
    if (!management_.IsOpen() && management_.Open()) {
        RemoveLeftovers();
    }
    return management_.IsOpen();
}

/// Removes the instances of an earlier service, and those that the kernel did not remove before.
void Advertisements::RemoveLeftovers()
{
    for (const KernelItems::Item& instance : items_.All(KernelItems::Kind::kAdvertisement)) {
        const bool isInUse = std::any_of(entries_.begin(), entries_.end(), [&](const auto& entry) {
            return entry.second.instance == instance;
        });
        if (!isInUse) {
            RemoveInstance(instance);
        }
    }
}

/// Adds an instance again that another program removed, as bluetoothd does when it starts.
void Advertisements::Received(const ManagementEvent& event)
{
    const auto number = DecodeAdvertisingInstance(event.parameters);
    if (event.code != static_cast<std::uint16_t>(ManagementEventCode::kAdvertisingRemoved) ||
        !number || !stack_.Adapter() || !stack_.Adapter()->isOn) {
        return;
    }
    const KernelItems::Item instance{KernelItems::Kind::kAdvertisement, event.controller, *number};
    for (auto& [key, entry] : entries_) {
        if (entry.isOnAir && entry.instance == instance) {
            entry.isOnAir = false;
            entry.instance.reset();
            items_.Remove(instance);
            Begin(key);
            return;
        }
    }
}

void Advertisements::Begin(std::uint64_t number)
{
    if (!stack_.Adapter()) {
        entries_.at(number).later = stack_.GetLoop().After(
            Loop::Duration::zero(), [this, number] { Failed(number, radio::Outcome::kNoAdapter); });
        return;
    }
    if (way_ != Way::kRaw || !OpenManagement()) {
        GoThroughBluez(number);
        return;
    }
    management_.Send(kReadAdvertisingFeatures, Controller(), {},
                     [this, number](ManagementStatus status, std::span<const std::uint8_t> bytes) {
                         if (!entries_.contains(number)) {
                             return;
                         }
                         if (status == ManagementStatus::kPermissionDenied) {
                             GoThroughBluez(number);
                             return;
                         }
                         const auto features = DecodeAdvertisingFeatures(bytes);
                         if (status != ManagementStatus::kSuccess || !features) {
                             Failed(number, OutcomeOf(status));
                             return;
                         }
                         BeginRaw(number, *features);
                     });
}

/// Takes the highest instance that is free: bluetoothd takes the lowest.
void Advertisements::BeginRaw(std::uint64_t number, const AdvertisingFeatures& features)
{
    Entry& entry = entries_.at(number);
    // The kernel does not list all.
    KernelItems::Item instance{KernelItems::Kind::kAdvertisement, Controller(),
                               features.mostInstances};
    const auto isUsed = [&] {
        return items_.Contains(instance) ||
               std::find(features.instances.begin(), features.instances.end(), instance.number) !=
                   features.instances.end();
    };
    while (instance.number > 0 && isUsed()) {
        --instance.number;
    }
    if (instance.number == 0) {
        Failed(number, radio::Outcome::kLimitReached);
        return;
    }
    entry.instance = instance;
    items_.Add(instance);
    management_.Send(
        kAddExtendedParameters, instance.controller,
        EncodeParameters(static_cast<std::uint8_t>(instance.number), entry.wanted, features.flags),
        [this, number, instance](ManagementStatus status, std::span<const std::uint8_t>) {
            if (!entries_.contains(number)) {
                return;
            }
            if (status == ManagementStatus::kSuccess) {
                SendData(number);
            } else if (status == ManagementStatus::kPermissionDenied) {
                entries_.at(number).instance.reset();
                items_.Remove(instance);
                GoThroughBluez(number);
            } else {
                Failed(number, OutcomeOf(status));
            }
        });
}

void Advertisements::SendData(std::uint64_t number)
{
    const Entry& entry = entries_.at(number);
    management_.Send(kAddExtendedData, entry.instance->controller,
                     EncodeData(static_cast<std::uint8_t>(entry.instance->number), entry.wanted),
                     [this, number](ManagementStatus status, std::span<const std::uint8_t>) {
                         if (!entries_.contains(number)) {
                             return;
                         }
                         if (status == ManagementStatus::kSuccess) {
                             Started(number);
                         } else {
                             Failed(number, OutcomeOf(status));
                         }
                     });
}

/// This process may not use the management socket, or not any more.
void Advertisements::GoThroughBluez(std::uint64_t number)
{
    if (std::exchange(way_, Way::kRebuilt) != Way::kRebuilt) {
        wayChanged_();
    }
    BeginRebuilt(number);
}

void Advertisements::BeginRebuilt(std::uint64_t number)
{
    Entry& entry = entries_.at(number);
    entry.path = stack_.NewPath("advertisement");
    entry.object = std::make_unique<dbus::ObjectTree>(stack_.Bus(), entry.path);
    const auto released = [this, number](const dbus::Incoming&, dbus::Invocation invocation) {
        invocation.Return();
        Entry& ended = entries_.at(number);
        ended.path.clear();
        // Not from within the object's own handler.
        ended.later = stack_.GetLoop().After(
            Loop::Duration::zero(), [this, number] { Failed(number, radio::Outcome::kFailed); });
    };
    entry.object->Add(entry.path, bluez::kAdvertisement,
                      {PropertiesOf(entry.wanted), {{"Release", released}}});
    entry.call =
        stack_.Call(stack_.Adapter()->path, bluez::kAdvertisingManager, "RegisterAdvertisement",
                    {dbus::ObjectPath{entry.path}, dbus::MakeProperties({})},
                    [this, number](const dbus::Reply& reply) {
                        if (reply.IsError()) {
                            entries_.at(number).path.clear();
                            Failed(number, OutcomeOf(*reply.error));
                        } else {
                            Started(number);
                        }
                    });
}

void Advertisements::Started(std::uint64_t number)
{
    Entry& entry = entries_.at(number);
    entry.isOnAir = true;
    if (const OnOutcome started = std::exchange(entry.started, nullptr)) {
        started(radio::Outcome::kDone);
    }
}

void Advertisements::Failed(std::uint64_t number, radio::Outcome why)
{
    auto failed = entries_.extract(number);
    Entry& entry = failed.mapped();
    Withdraw(entry);
    (entry.started ? entry.started : entry.ended)(why);
}

void Advertisements::FailAll(radio::Outcome why)
{
    while (!entries_.empty()) {
        Failed(entries_.begin()->first, why);
    }
}

/// Removes the advertisement from the kernel or from BlueZ.
void Advertisements::Withdraw(Entry& entry)
{
    entry.call.Reset();
    if (const auto instance = std::exchange(entry.instance, std::nullopt)) {
        RemoveInstance(*instance);
    }
    if (!entry.path.empty() && stack_.Adapter()) {
        stack_.Bus().Send({bluez::kService, stack_.Adapter()->path, bluez::kAdvertisingManager,
                           "UnregisterAdvertisement"},
                          {dbus::ObjectPath{entry.path}});
    }
    entry.path.clear();
    entry.object.reset();
}

/// The instance stays noted until the kernel has removed it: while the controller is off the kernel
/// may refuse to, and would send it again once the controller is on.
void Advertisements::RemoveInstance(const KernelItems::Item& instance)
{
    if (OpenManagement()) {
        management_.Send(kRemoveAdvertising, instance.controller,
                         {static_cast<std::uint8_t>(instance.number)},
                         [this, instance](ManagementStatus status, std::span<const std::uint8_t>) {
                             if (IsGone(status)) {
                                 items_.Remove(instance);
                             }
                         });
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
