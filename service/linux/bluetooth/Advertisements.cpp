#include <service/linux/ByteReader.h>
#include <service/linux/Capabilities.h>
#include <service/linux/bluetooth/Advertisements.h>
#include <service/linux/bluetooth/AdvertisingData.h>
#include <service/linux/bluetooth/Sockets.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

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

std::vector<std::uint8_t> EncodeParameters(std::uint8_t instance,
                                           const OutgoingAdvertisement& wanted,
                                           std::uint32_t supported)
{
    std::uint32_t flags = supported & (kFlagIntervals | kFlagTxPower);
    if (wanted.isConnectable) {
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

std::vector<std::uint8_t> EncodeData(std::uint8_t instance, const OutgoingAdvertisement& wanted)
{
    std::vector<std::uint8_t> parameters{instance, static_cast<std::uint8_t>(wanted.data.size()),
                                         static_cast<std::uint8_t>(wanted.scanResponse.size())};
    parameters.insert(parameters.end(), wanted.data.begin(), wanted.data.end());
    parameters.insert(parameters.end(), wanted.scanResponse.begin(), wanted.scanResponse.end());
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

/// What BlueZ is to put together again. Flags are its own affair.
dbus::Properties PropertiesOf(const OutgoingAdvertisement& wanted)
{
    AdvertisingFields fields;
    ReadStructures(wanted.data, fields);
    ReadStructures(wanted.scanResponse, fields);
    dbus::Properties properties{{"Type", wanted.isConnectable ? "peripheral" : "broadcast"}};
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
    if (error.name == "org.freedesktop.DBus.Error.AccessDenied") {
        return radio::Outcome::kNotPermitted;
    }
    return error.name == "org.bluez.Error.NotPermitted" ? radio::Outcome::kLimitReached
                                                        : radio::Outcome::kFailed;
}

}  // namespace

Advertisements::Advertisements(Stack& stack, OpenManagement open)
    : stack_(stack), open_(std::move(open))
{
    stack_.Add(*this);
}

Advertisements::~Advertisements()
{
    stack_.Remove(*this);
    for (auto& [number, entry] : entries_) {
        GiveBack(entry);
    }
}

std::uint16_t Advertisements::Controller() const
{
    return bluez::ControllerOf(stack_.Adapter()->path).value_or(kNoController);
}

void Advertisements::Add(std::uint64_t number, OutgoingAdvertisement advertisement,
                         OnOutcome started, OnOutcome ended)
{
    Entry& entry = entries_[number];
    entry.wanted = std::move(advertisement);
    entry.started = std::move(started);
    entry.ended = std::move(ended);
    if (way_ == Way::kRaw && !management_) {
        OpenSocket();
    }
    Begin(number);
}

void Advertisements::Remove(std::uint64_t number)
{
    if (auto removed = entries_.extract(number)) {
        GiveBack(removed.mapped());
    }
}

void Advertisements::AdapterChanged()
{
    if (stack_.Adapter() && way_ == Way::kNone) {
        OpenSocket();
    }
    if (!stack_.Adapter() || !stack_.Adapter()->isOn) {
        while (!entries_.empty()) {
            Failed(entries_.begin()->first, radio::Outcome::kNoAdapter);
        }
    }
}

void Advertisements::OpenSocket()
{
    way_ = Way::kRebuilt;
    try {
        FileDescriptor socket = open_();
        management_ = std::make_unique<Management>(
            stack_.GetLoop(), std::move(socket),
            [this](const ManagementEvent& event) { Heard(event); },
            [this] { management_.reset(); });
        way_ = Way::kRaw;
    } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): then by BlueZ
    }
}

/// One that somebody else removed (a bluetoothd that starts does so) is added again.
void Advertisements::Heard(const ManagementEvent& event)
{
    const auto instance = DecodeAdvertisingInstance(event.parameters);
    if (event.code != static_cast<std::uint16_t>(ManagementEventCode::kAdvertisingRemoved) ||
        !instance || !stack_.Adapter() || !stack_.Adapter()->isOn ||
        event.controller != Controller()) {
        return;
    }
    for (auto& [number, entry] : entries_) {
        if (entry.isOnAir && entry.instance == *instance) {
            entry.isOnAir = false;
            inUse_.erase(std::exchange(entry.instance, std::uint8_t{0}));
            Begin(number);
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
    if (way_ != Way::kRaw || !management_) {
        BeginRebuilt(number);
        return;
    }
    management_->Send(kReadAdvertisingFeatures, Controller(), {},
                      [this, number](ManagementStatus status, std::span<const std::uint8_t> bytes) {
                          if (!entries_.contains(number)) {
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
    const auto isUsed = [&](std::uint8_t instance) {
        return inUse_.contains(instance) ||
               std::find(features.instances.begin(), features.instances.end(), instance) !=
                   features.instances.end();
    };
    std::uint8_t instance = features.mostInstances;
    while (instance > 0 && isUsed(instance)) {
        --instance;
    }
    if (instance == 0) {
        Failed(number, radio::Outcome::kLimitReached);
        return;
    }
    entry.instance = instance;
    inUse_.insert(instance);
    management_->Send(kAddExtendedParameters, Controller(),
                      EncodeParameters(instance, entry.wanted, features.flags),
                      [this, number](ManagementStatus status, std::span<const std::uint8_t>) {
                          if (!entries_.contains(number)) {
                              return;
                          }
                          if (status == ManagementStatus::kSuccess) {
                              SendData(number);
                          } else if (status == ManagementStatus::kPermissionDenied) {
                              Entry& refused = entries_.at(number);
                              inUse_.erase(std::exchange(refused.instance, std::uint8_t{0}));
                              way_ = Way::kRebuilt;
                              BeginRebuilt(number);
                          } else {
                              Failed(number, OutcomeOf(status));
                          }
                      });
}

void Advertisements::SendData(std::uint64_t number)
{
    const Entry& entry = entries_.at(number);
    management_->Send(kAddExtendedData, Controller(), EncodeData(entry.instance, entry.wanted),
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
    GiveBack(entry);
    (entry.started ? entry.started : entry.ended)(why);
}

/// Ends what there may be of it with the kernel or BlueZ.
void Advertisements::GiveBack(Entry& entry)
{
    entry.call.Reset();
    if (const std::uint8_t instance = std::exchange(entry.instance, std::uint8_t{0});
        instance != 0) {
        if (management_ && stack_.Adapter()) {
            management_->Send(kRemoveAdvertising, Controller(), {instance},
                              [this, instance](ManagementStatus, std::span<const std::uint8_t>) {
                                  inUse_.erase(instance);
                              });
        } else {
            inUse_.erase(instance);
        }
    }
    if (!entry.path.empty() && stack_.Adapter()) {
        stack_.Bus().Send({bluez::kService, stack_.Adapter()->path, bluez::kAdvertisingManager,
                           "UnregisterAdvertisement"},
                          {dbus::ObjectPath{entry.path}});
    }
    entry.path.clear();
    entry.object.reset();
}

}  // namespace pelacon::service::linux_radios::bluetooth
