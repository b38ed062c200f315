#include <service/linux/bluetooth/AdvertisingData.h>
#include <service/linux/bluetooth/Discovery.h>

#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// The most that one advertisement or scan response holds.
constexpr std::size_t kMostStructures = 31;

void ReadUuids(const dbus::Properties& device, AdvertisingFields& fields)
{
    const auto uuids = device.find("UUIDs");
    if (uuids == device.end()) {
        return;
    }
    for (const std::string& text : dbus::ReadTexts(uuids->second)) {
        if (const auto uuid = protocol::ParseUuid(text)) {
            fields.services.push_back(*uuid);
        }
    }
}

void ReadData(const dbus::Properties& device, AdvertisingFields& fields)
{
    if (const auto all = dbus::Find<dbus::Dictionary>(device, "ManufacturerData")) {
        for (const auto& [company, data] : all->entries) {
            if (const auto* const number = company.As<std::uint16_t>()) {
                fields.manufacturerData[*number] = data.Or(dbus::Bytes());
            }
        }
    }
    if (const auto all = dbus::Find<dbus::Dictionary>(device, "ServiceData")) {
        for (const auto& [service, data] : all->entries) {
            if (const auto uuid = protocol::ParseUuid(service.Or<std::string>(""))) {
                fields.serviceData[*uuid] = data.Or(dbus::Bytes());
            }
        }
    }
}

}  // namespace

std::vector<AdvertisingReport> RebuildReports(const dbus::Properties& device)
{
    AdvertisingFields fields;
    if (const auto flags = dbus::Find<dbus::Bytes>(device, "AdvertisingFlags");
        flags && !flags->empty()) {
        fields.flags = flags->front();
    }
    ReadUuids(device, fields);
    ReadData(device, fields);
    fields.name = dbus::Find<std::string>(device, "Name").value_or("");
    fields.appearance = dbus::Find<std::uint16_t>(device, "Appearance");
    if (const auto power = dbus::Find<std::int16_t>(device, "TxPower")) {
        fields.txPower = static_cast<std::int8_t>(*power);
    }
    AdvertisingPair pair = WriteStructures(fields, kMostStructures);

    AdvertisingReport report;
    report.address =
        ParseAddress(dbus::Find<std::string>(device, "Address").value_or("")).value_or(0);
    report.addressType = dbus::Find<std::string>(device, "AddressType") == "random"
                             ? AddressType::kRandom
                             : AddressType::kPublic;
    report.rssi =
        static_cast<std::int8_t>(dbus::Find<std::int16_t>(device, "RSSI")
                                     .value_or(std::int16_t{AdvertisingReport::kUnknownRssi}));
    report.data = std::move(pair.data);
    std::vector<AdvertisingReport> reports{report};
    if (!pair.scanResponse.empty()) {
        report.kind = AdvertisingReport::Kind::kScanResponse;
        report.data = std::move(pair.scanResponse);
        reports.push_back(std::move(report));
    }
    return reports;
}

Discovery::Discovery(Stack& stack, Callbacks callbacks, OpenRaw openRaw)
    : stack_(stack), callbacks_(std::move(callbacks)), openRaw_(std::move(openRaw))
{
    stack_.Add(*this);
}

Discovery::~Discovery()
{
    stack_.Remove(*this);
}

Discovery::Hold::~Hold()
{
    if (discovery_ != nullptr) {
        --discovery_->holds_;
        discovery_->FitLater();
    }
}

Discovery::Hold Discovery::Keep()
{
    ++holds_;
    FitLater();
    return Hold(*this);
}

void Discovery::Want(bool wanted)
{
    isWanted_ = wanted;
    isBeginReported_ = false;
    FitLater();
}

void Discovery::FitLater()
{
    next_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Fit(); });
}

bool Discovery::IsPossible() const
{
    return stack_.Adapter() && stack_.Adapter()->isOn;
}

void Discovery::AdapterChanged()
{
    const std::string adapter = stack_.Adapter() ? stack_.Adapter()->path : "";
    if (adapter != adapter_) {
        adapter_ = adapter;
        OpenReports();
    }
    Fit();
}

/// Opens the raw reports of the adapter, or falls back to the properties of BlueZ's devices.
void Discovery::OpenReports()
{
    raw_.reset();
    way_ = Way::kNone;
    const auto controller = bluez::ControllerOf(adapter_);
    if (!controller) {
        return;
    }
    way_ = Way::kRebuilt;
    try {
        raw_ = std::make_unique<Hci>(
            stack_.GetLoop(), openRaw_(*controller),
            [this](AdvertisingReport& report) {
                if (state_ == State::kRunning && isWanted_) {
                    callbacks_.heard(report);
                }
            },
            [this] { raw_.reset(); });  // the adapter goes, or is set up anew
        way_ = Way::kRaw;
    } catch (const std::system_error&) {  // NOLINT(bugprone-empty-catch): then without them
    }
}

/// Starts or stops discovery, if it is not as wanted and can be. BlueZ refuses a request while
/// another one is under way: each waits for the reply to the one before.
void Discovery::Fit()
{
    if (!IsPossible()) {
        next_.Cancel();
        call_.Reset();
        refusals_ = 0;
        if (std::exchange(state_, State::kIdle) != State::kIdle) {
            ReportEnd(radio::Outcome::kNoAdapter);
        }
    } else if (state_ == State::kIdle && IsNeeded() && !next_.IsPending()) {
        Start();
    } else if (state_ == State::kRunning && !IsNeeded()) {
        Stop(State::kIdle);
    } else if (state_ == State::kRunning) {
        ReportBegin();
    }
}

void Discovery::Start()
{
    if (way_ == Way::kRaw && !raw_) {
        OpenReports();
    }
    state_ = State::kStarting;
    const std::string path = stack_.Adapter()->path;
    const dbus::Value filter = dbus::MakeProperties({{"Transport", "le"}, {"DuplicateData", true}});
    // If BlueZ refuses the filter, discovery is started all the same.
    call_ = stack_.Call(
        path, bluez::kAdapter, "SetDiscoveryFilter", {filter}, [this, path](const dbus::Reply&) {
            call_ = stack_.Call(path, bluez::kAdapter, "StartDiscovery", {},
                                [this, path](const dbus::Reply& reply) { Started(path, reply); });
        });
}

void Discovery::Started(const std::string& path, const dbus::Reply& reply)
{
    if (!reply.IsError()) {
        refusals_ = 0;
        state_ = State::kRunning;
        Fit();
    } else if (reply.error->name == "org.bluez.Error.InProgress" && ++refusals_ < kMostRefusals) {
        // Either a request is under way, or BlueZ still discovers for this process.
        Stop(State::kStarting);
    } else {
        refusals_ = 0;
        Fail(OutcomeOf(*reply.error, path));
    }
}

/// Stops discovery, to leave it at that or to start it again.
void Discovery::Stop(State next)
{
    state_ = State::kStopping;
    call_ = stack_.Call(stack_.Adapter()->path, bluez::kAdapter, "StopDiscovery", {},
                        [this, next](const dbus::Reply&) {
                            // If it did not run, BlueZ refuses, which does not matter.
                            state_ = State::kIdle;
                            if (next == State::kStarting) {
                                next_ = stack_.GetLoop().After(kNextTryIfBusy, [this] { Fit(); });
                            } else {
                                Fit();
                            }
                        });
}

void Discovery::Fail(radio::Outcome why)
{
    state_ = State::kIdle;
    next_ = stack_.GetLoop().After(kNextTry, [this] { Fit(); });
    ReportEnd(why);
}

void Discovery::ReportBegin()
{
    if (isWanted_ && !std::exchange(isBeginReported_, true)) {
        callbacks_.began();
    }
}

void Discovery::ReportEnd(radio::Outcome why)
{
    isBeginReported_ = false;
    if (isWanted_) {
        callbacks_.ended(why);
    }
}

void Discovery::ObjectAdded(const std::string& path, const std::string& interface)
{
    if (interface == bluez::kDevice && way_ == Way::kRebuilt && state_ == State::kRunning) {
        if (const dbus::Properties* const device = stack_.Mirror().Find(path, interface)) {
            Rebuild(path, *device);
        }
    }
}

void Discovery::ObjectChanged(const std::string& path, const std::string& interface,
                              const dbus::Properties& changed)
{
    if (interface == bluez::kDevice && way_ == Way::kRebuilt && state_ == State::kRunning) {
        Rebuild(path, changed);
    }
    const bool hasStopped = interface == bluez::kAdapter && path == adapter_ &&
                            dbus::Find<bool>(changed, "Discovering") == false;
    if (hasStopped && state_ == State::kRunning) {
        // It goes on when other programs stop theirs, unless BlueZ ends all.
        Fail(radio::Outcome::kFailed);
    }
}

/// Reports a device of which an advertisement was just received: its RSSI or data change then.
void Discovery::Rebuild(const std::string& path, const dbus::Properties& changed)
{
    if (!isWanted_) {
        return;
    }
    const bool isHeard = changed.contains("RSSI") || changed.contains("ManufacturerData") ||
                         changed.contains("ServiceData");
    const dbus::Properties* const device = stack_.Mirror().Find(path, bluez::kDevice);
    if (!isHeard || device == nullptr || !path.starts_with(adapter_ + "/")) {
        return;
    }
    for (const AdvertisingReport& report : RebuildReports(*device)) {
        callbacks_.heard(report);
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
