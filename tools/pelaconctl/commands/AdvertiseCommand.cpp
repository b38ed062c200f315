// pelaconctl advertise: being heard.
#include <PelaconSDK/BleAdvertiser.h>
#include <protocol/AdStructure.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/ServiceWatch.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMostData = 31;
constexpr std::uint8_t kUsualFlags = 0x06;  // general discoverable, no classic Bluetooth

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

Mailbox<std::int32_t>& Disablings()
{
    static auto& disablings = *new Mailbox<std::int32_t>;
    return disablings;
}

/// Registered as long as it lives.
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
        static BleAdvCallbacksC table{
            [](std::int32_t, std::int32_t status) { Disablings().Post(status); }};
        return table;
    }

    int id_ = 0;
};

// ---- What is sent

Bytes BytesOf(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// Adds a structure, unless it would not fit a length byte; what is too long is refused as a whole.
void Append(Bytes& bytes, std::uint8_t type, const Bytes& data)
{
    if (data.size() > kMostData) {
        bytes.insert(bytes.end(), data.size() + 2, 0);
        return;
    }
    protocol::AppendAdStructure(bytes, type, data);
}

/// Reads "180F:64" or "180F": an identifier, as it is sent, and its data.
Bytes ParseIdentified(const std::string& text)
{
    const std::size_t colon = text.find(':');
    const std::uint16_t identifier = ParseUuid16(text.substr(0, colon));
    Bytes bytes{static_cast<std::uint8_t>(identifier), static_cast<std::uint8_t>(identifier >> 8)};
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
        const std::uint16_t uuid = ParseUuid16(text);
        bytes.push_back(static_cast<std::uint8_t>(uuid));
        bytes.push_back(static_cast<std::uint8_t>(uuid >> 8));
    }
    return bytes;
}

void RefuseTooLong(const Bytes& bytes, const std::string& what)
{
    if (bytes.size() > kMostData) {
        throw Failure(ExitStatus::kUsage,
                      what + " would take " + std::to_string(bytes.size()) +
                          " bytes, and there is room for 31: shorten a name or leave something "
                          "out.");
    }
}

Bytes AdvertisementOf(const AdvertiseOptions& options)
{
    if (options.raw) {
        return ParseHex(*options.raw);
    }
    Bytes bytes;
    Append(bytes, protocol::kAdFlags, {kUsualFlags});
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

/// Whole milliseconds, of which there is at least one where there is any time at all.
std::int32_t Milliseconds(double seconds)
{
    const double milliseconds = std::ceil(seconds * 1000);
    constexpr auto kMost = std::numeric_limits<std::int32_t>::max();
    return milliseconds < kMost ? static_cast<std::int32_t>(milliseconds) : kMost;
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

/// Makes the times those that are left until the end; false when none is.
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

/// Goes on after a restart of the service, for the time that is left; false when none is.
bool GoOn(const Advertiser& advertiser, BleAdvertiseParamsC& params, const BleAdvertiseData& data,
          Deadline end, const Console& console)
{
    nlohmann::ordered_json record{{"event", "restarted"}};
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

/// Why the advertiser is silent for good.
void ReportEnd(std::int32_t status, const Console& console)
{
    switch (status) {
        case kBleAdvTimeOver:
        case kBleAdvServiceRestart:  // while the time ended
            console.Report({{"event", "ended"}}, "The time is over.");
            return;
        case kBleAdvAdapterOff:
            throw Failure(ExitStatus::kAdapterOff, "Bluetooth was switched off.");
        default:
            throw Failure(ExitStatus::kFailed, "PelaconService ended the advertising (code " +
                                                   std::to_string(status) + ").");
    }
}

void Advertise(const AdvertiseOptions& options, const Console& console)
{
    const BleAdvertiseData data = DataOf(options);
    BleAdvertiseParamsC params = ParamsOf(options);
    const Session session;
    session.RequireBluetooth();
    const UntilInterrupt interrupt([] { Disablings().Close(); });
    const Advertiser advertiser;
    advertiser.Start(params, data);
    const auto end = Deadline::clock::now() + std::chrono::milliseconds(params.sendTotalTime);
    console.Report({{"event", "advertising"},
                    {"data", FormatHex(data.advData)},
                    {"scanResponse", FormatHex(data.scanResp)}},
                   "Advertising " + std::to_string(data.advData.size()) +
                       " of 31 bytes: " + FormatHex(data.advData) + ". Ctrl-C ends it.");
    ServiceWatch watch;
    while (!interrupt.Happened()) {
        const auto status = Disablings().Next(ServiceWatch::Clock::now() + ServiceWatch::kEvery);
        if (status &&
            (*status != kBleAdvServiceRestart || !GoOn(advertiser, params, data, end, console))) {
            ReportEnd(*status, console);
            return;
        }
        watch.Look();
    }
}

}  // namespace

void AddAdvertiseCommand(CLI::App& program, Console& console)
{
    CLI::App* const advertise = program.add_subcommand(
        "advertise", "Be heard by others as a Bluetooth device, until Ctrl-C");
    advertise->footer(
        "All of it has 31 bytes, the scan response 31 more: each part takes two and its own; the\n"
        "flags, which come first, take three.\n"
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
                                          "A company's identifier and its data: FFFF:0215"));
    parts.push_back(advertise->add_option("--service-data", options->serviceData,
                                          "A 16-bit service and its data: 180F:64"));
    CLI::Option* const raw = advertise->add_option(
        "--raw", options->raw, "The whole advertisement in hexadecimal, flags and all");
    for (CLI::Option* part : parts) {
        raw->excludes(part);
    }
    CLI::Option* const response = advertise->add_option("--response", options->response,
                                                        "The whole scan response in hexadecimal");
    advertise->add_option("--response-name", options->responseName, "A name in the scan response")
        ->excludes(response);
    advertise
        ->add_option("--kind", options->kind,
                     "What others may do: connectable (the default), scannable, non-connectable")
        ->transform(OneOf<BleAdvEventType>({{"connectable", kBleAdvConnectable},
                                            {"scannable", kBleAdvScannable},
                                            {"non-connectable", kBleAdvNonConnectable}}))
        ->type_name("KIND");
    advertise->add_option("--interval", options->interval, "Milliseconds between two; else 100")
        ->check(CLI::Range(20, 10240));
    advertise->add_option("--power", options->power, "Sending power in dBm, -127 to 20; else 0")
        ->check(CLI::Range(-127, 20));
    advertise->add_option("--seconds", options->seconds, "End after so many seconds")
        ->check(AboveZero());
    advertise
        ->add_option("--part", options->part,
                     "Be on the air for so many seconds, rest for as long, and so on")
        ->check(AboveZero());
    advertise->callback([&console, options] { Advertise(*options, console); });
}

}  // namespace pelacon::ctl
