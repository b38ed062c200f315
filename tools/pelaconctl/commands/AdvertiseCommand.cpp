// pelaconctl advertise: advertising to other devices.
#include <PelaconSDK/BleAdvertiser.h>
#include <protocol/AdStructure.h>
#include <protocol/BleScanner.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <cmath>
#include <limits>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kMaxData = protocol::kMostAdvData;
constexpr std::uint8_t kDefaultFlags = 0x06;  // general discoverable, no classic Bluetooth

struct AdvertiseOptions {
    std::string name;
    std::vector<std::string> uuids;
    std::optional<std::string> manufacturer;
    std::optional<std::string> serviceData;
    std::optional<std::string> raw;
    std::string response;
    std::string responseName;
    BleAdvEventType kind = kBleAdvConnectable;
    std::int32_t interval = 0;
    std::int32_t power = 0;
    std::optional<double> seconds;
    double part = 0;
};

/// The advertising stopped, with this status.
struct AdvertisingStopped {
    std::int32_t status;
};

/// Registered while it lives.
class Advertiser {
  public:
    Advertiser() { Check(BleAdvRegisterCallbacks(&Table(), &id_), "become an advertiser"); }
    ~Advertiser()
    {
        BleStopAdvertise(id_);
        BleAdvUnRegisterCallbacks(id_);
    }
    Advertiser(const Advertiser&) = delete;
    Advertiser& operator=(const Advertiser&) = delete;

    void Start(const BleAdvertiseParamsC& params, const BleAdvertiseData& data) const
    {
        Check(BleAdvertiser::BleStartAdvertise(id_, params, data), "advertise");
    }

  private:
    static BleAdvCallbacksC& Table()
    {
        static BleAdvCallbacksC table{[](std::int32_t, std::int32_t status) {
            Events<AdvertisingStopped>().Post(AdvertisingStopped{status});
        }};
        return table;
    }

    int id_ = 0;
};

// ---- The data and the parameters

Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// Adds a structure. One that is too long for its length byte adds zeros instead: RefuseTooLong
/// will refuse the whole.
void Append(Bytes& bytes, std::uint8_t type, const Bytes& data)
{
    if (data.size() > kMaxData) {
        bytes.insert(bytes.end(), data.size() + 2, 0);
        return;
    }
    protocol::AppendAdStructure(bytes, type, data);
}

/// Reads "180F:64" or "180F" into an identifier, low byte first, and its data.
Bytes ParseIdentified(const std::string& text)
{
    const std::size_t colon = text.find(':');
    Bytes bytes;
    AppendUuid16(bytes, ParseUuid16(text.substr(0, colon)));
    if (colon != std::string::npos) {
        const Bytes data = ParseHex(text.substr(colon + 1));
        bytes.insert(bytes.end(), data.begin(), data.end());
    }
    return bytes;
}

Bytes ParseUuids(const std::vector<std::string>& texts)
{
    Bytes bytes;
    for (const std::string& text : texts) {
        AppendUuid16(bytes, ParseUuid16(text));
    }
    return bytes;
}

void RefuseTooLong(const Bytes& bytes, const std::string& what)
{
    if (bytes.size() > kMaxData) {
        throw Failure(ExitStatus::kUsage,
                      what + " would take " + std::to_string(bytes.size()) +
                          " bytes, but the limit is 31: shorten a name or leave something out.");
    }
}

Bytes AdvertisementOf(const AdvertiseOptions& options)
{
    if (options.raw) {
        return ParseHex(*options.raw);
    }
    Bytes bytes;
    Append(bytes, protocol::kAdFlags, {kDefaultFlags});
    if (!options.uuids.empty()) {
        Append(bytes, protocol::kAdUuids16, ParseUuids(options.uuids));
    }
    if (options.serviceData) {
        Append(bytes, protocol::kAdServiceData16, ParseIdentified(*options.serviceData));
    }
    if (options.manufacturer) {
        Append(bytes, protocol::kAdManufacturer, ParseIdentified(*options.manufacturer));
    }
    if (!options.name.empty()) {
        Append(bytes, protocol::kAdName, BytesOf(options.name));
    }
    return bytes;
}

BleAdvertiseData DataOf(const AdvertiseOptions& options)
{
    BleAdvertiseData data{AdvertisementOf(options), ParseHex(options.response)};
    if (!options.responseName.empty()) {
        Append(data.scanResp, protocol::kAdName, BytesOf(options.responseName));
    }
    RefuseTooLong(data.advData, "The advertisement");
    RefuseTooLong(data.scanResp, "The scan response");
    return data;
}

/// Whole milliseconds, rounded up: 0 would mean no limit.
std::int32_t Milliseconds(double seconds)
{
    const double milliseconds = std::ceil(seconds * 1000);
    constexpr auto kMax = std::numeric_limits<std::int32_t>::max();
    return milliseconds < kMax ? static_cast<std::int32_t>(milliseconds) : kMax;
}

BleAdvertiseParamsC ParamsOf(const AdvertiseOptions& options)
{
    BleAdvertiseParamsC params{};
    params.minInterval = options.interval;
    params.advEventType = options.kind;
    params.txPower = options.power;
    params.sendTotalTime = Milliseconds(options.seconds.value_or(0));
    params.sendPartTime = Milliseconds(options.part);
    if (params.sendTotalTime != 0 && params.sendPartTime > params.sendTotalTime) {
        throw Failure(ExitStatus::kUsage, "--part cannot be longer than --seconds.");
    }
    return params;
}

// ---- The command

/// Shortens the times to those left until the end; false when no time is left.
bool Shorten(BleAdvertiseParamsC& params, Deadline end)
{
    using std::chrono::milliseconds;
    const auto left = std::chrono::ceil<milliseconds>(end - Deadline::clock::now()).count();
    if (left <= 0) {
        return false;
    }
    params.sendTotalTime =
        static_cast<std::int32_t>(std::min<milliseconds::rep>(params.sendTotalTime, left));
    params.sendPartTime = std::min(params.sendPartTime, params.sendTotalTime);
    return true;
}

/// Advertises again after a restart of the service, for the time left; false when no time is left.
bool Resume(const Advertiser& advertiser, BleAdvertiseParamsC& params, const BleAdvertiseData& data,
            Deadline end, const Console& console)
{
    Json record{{"event", "restarted"}};
    if (params.sendTotalTime != 0) {
        if (!Shorten(params, end)) {
            return false;
        }
        record["secondsLeft"] = params.sendTotalTime / 1000.0;
    }
    console.Report(record, "PelaconService was restarted; advertising again.");
    advertiser.Start(params, data);
    return true;
}

/// Reports why the advertising has ended.
void ReportEnd(std::int32_t status, const Console& console)
{
    switch (status) {
        case kBleAdvTimeOver:
        case kBleAdvServiceRestart:  // and no time is left
            console.Report({{"event", "ended"}}, "The time is over.");
            return;
        case kBleAdvAdapterOff:
            throw Failure(ExitStatus::kAdapterOff, "Bluetooth was switched off.");
        case kBleAdvRadioFailed:
            throw Failure(ExitStatus::kFailed, "The radio ended the advertising.");
        default:
            throw Failure(ExitStatus::kFailed, "PelaconService ended the advertising (code " +
                                                   std::to_string(status) + ").");
    }
}

void Advertise(const AdvertiseOptions& options, const Console& console)
{
    const BleAdvertiseData data = DataOf(options);
    BleAdvertiseParamsC params = ParamsOf(options);
    const LibrarySession session;
    session.RequireBluetooth();
    EventLoop<AdvertisingStopped> loop;
    const Advertiser advertiser;
    advertiser.Start(params, data);
    const auto end = Deadline::clock::now() + std::chrono::milliseconds(params.sendTotalTime);
    console.Report({{"event", "advertising"},
                    {"data", protocol::HexText(data.advData)},
                    {"scanResponse", protocol::HexText(data.scanResp)}},
                   "Advertising " + std::to_string(data.advData.size()) + " of 31 bytes: " +
                       protocol::HexText(data.advData) + ". Press Ctrl-C to stop.");
    while (loop.Continues()) {
        const auto event = loop.Next();
        if (event && (event->status != kBleAdvServiceRestart ||
                      !Resume(advertiser, params, data, end, console))) {
            return ReportEnd(event->status, console);
        }
    }
}

}  // namespace

void AddAdvertiseCommand(CLI::App& program, const Console& console)
{
    CLI::App* const advertise =
        program.add_subcommand("advertise", "Advertise to other Bluetooth devices, until Ctrl-C");
    advertise->footer(
        "The advertisement has at most 31 bytes, and so has the scan response. Each part takes "
        "its\n"
        "own bytes and two more; the flags, which come first, take three bytes.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl advertise --name \"Front desk\" --uuid 180F\n"
        "  pelaconctl advertise --manufacturer FFFF:0215aa --response-name Beacon --seconds 60\n"
        "  pelaconctl advertise --raw '02 01 06 03 ff 34 12' --kind non-connectable\n");
    const auto options = std::make_shared<AdvertiseOptions>();
    std::vector<CLI::Option*> parts;
    parts.push_back(advertise->add_option("--name", options->name, "The device's name"));
    parts.push_back(advertise
                        ->add_option("--uuid", options->uuids,
                                     "A 16-bit service, such as 180F; may be repeated")
                        ->allow_extra_args(false));
    parts.push_back(advertise->add_option("--manufacturer", options->manufacturer,
                                          "A company identifier and its data: FFFF:0215"));
    parts.push_back(advertise->add_option("--service-data", options->serviceData,
                                          "A 16-bit service and its data: 180F:64"));
    CLI::Option* const raw = advertise->add_option(
        "--raw", options->raw, "The whole advertisement in hexadecimal, including the flags");
    for (CLI::Option* part : parts) {
        raw->excludes(part);
    }
    CLI::Option* const response = advertise->add_option("--response", options->response,
                                                        "The whole scan response in hexadecimal");
    advertise->add_option("--response-name", options->responseName, "A name in the scan response")
        ->excludes(response);
    advertise
        ->add_option("--kind", options->kind,
                     "What others may do: connectable (default), scannable, non-connectable")
        ->transform(OneOf<BleAdvEventType>({{"connectable", kBleAdvConnectable},
                                            {"scannable", kBleAdvScannable},
                                            {"non-connectable", kBleAdvNonConnectable}}))
        ->type_name("KIND");
    advertise
        ->add_option("--interval", options->interval,
                     "Milliseconds between advertisements, 20 to 10240; 100 by default")
        ->check(CLI::Range(20, 10240).description(""));
    advertise
        ->add_option("--power", options->power, "Transmit power in dBm, -127 to 20; 0 by default")
        ->check(CLI::Range(-127, 20).description(""));
    AddSeconds(*advertise, options->seconds, AboveZero());
    advertise
        ->add_option("--part", options->part,
                     "Alternate: advertise for this many seconds, then pause for as long")
        ->check(AboveZero());
    advertise->callback([&console, options] { Advertise(*options, console); });
}

}  // namespace pelacon::ctl
