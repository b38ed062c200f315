// pelaconctl scan: what is in the air.
#include <PelaconSDK/BleScanner.h>
#include <protocol/AdStructure.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/DeviceTable.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/LiveText.h>
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
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;
using Clock = DeviceTable::Clock;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMostFilters = 5;
constexpr auto kRedrawEvery = std::chrono::milliseconds(200);

struct ScanOptions {
    std::optional<double> seconds;
    std::vector<std::string> filters;
    BleScanPolicy policy = kBleScanLowLatency;
    DeviceTable::Order order = DeviceTable::Order::kSignal;
};

/// A listener's status, as its callback gets it.
struct StatusChange {
    std::int32_t status;
};
using ScanEvent = std::variant<BleScanResultC, StatusChange>;

Mailbox<ScanEvent>& ScanEvents()
{
    static auto& events = *new Mailbox<ScanEvent>;
    return events;
}

/// Scans as long as it lives.
class ScanListener {
  public:
    ScanListener(std::vector<BleScanFilter> filters, BleScanPolicy policy)
        : filters_(std::move(filters)), policy_(policy)
    {
        Check(BleScanRegisterCallbacks(&Table(), &id_), "listen to advertisements");
        Start();
    }
    ~ScanListener()
    {
        StopBleScan(id_);
        BleScanUnRegisterCallbacks(id_);
    }
    ScanListener(const ScanListener&) = delete;
    ScanListener& operator=(const ScanListener&) = delete;

    /// Also after a restart of the service, which has forgotten both filters and policy.
    void Start()
    {
        if (!filters_.empty()) {
            Check(SetScanFilter(id_, filters_.data(), static_cast<int>(filters_.size())),
                  "filter what is heard");
        }
        Check(StartBleScan(id_, policy_), "scan");
    }

  private:
    static BleScanCallbacksC& Table()
    {
        static BleScanCallbacksC table{
            [](std::int32_t, std::int32_t status) { ScanEvents().Post(StatusChange{status}); },
            [](std::int32_t, BleScanResultC result) { ScanEvents().Post(result); }};
        return table;
    }

    std::vector<BleScanFilter> filters_;
    BleScanPolicy policy_;
    int id_ = 0;
};

// ---- Filters

BleScanFilter MakeFilter(std::int32_t type, const Bytes& pattern, const std::string& text)
{
    BleScanFilter filter{};
    if (pattern.size() > sizeof filter.patternData) {
        throw Failure(ExitStatus::kUsage,
                      "The filter \"" + text + "\" is too long: a pattern has 32 bytes at most.");
    }
    filter.type = type;
    filter.patternLength = static_cast<std::uint32_t>(pattern.size());
    std::copy(pattern.begin(), pattern.end(), filter.patternData);
    return filter;
}

Bytes LittleEndian(std::uint16_t identifier)
{
    return {static_cast<std::uint8_t>(identifier), static_cast<std::uint8_t>(identifier >> 8)};
}

/// Reads "name=Lamp" and its like.
BleScanFilter ParseFilter(const std::string& text)
{
    const std::size_t equals = text.find('=');
    const std::string kind = text.substr(0, equals);
    const std::string value = equals != std::string::npos ? text.substr(equals + 1) : "";
    if (equals != std::string::npos) {
        if (kind == "name") {
            return MakeFilter(protocol::kAdName, Bytes(value.begin(), value.end()), text);
        }
        if (kind == "address") {
            return MakeFilter(kBleScanFilterAddress, ParseHex(value), text);
        }
        if (kind == "service") {
            return MakeFilter(protocol::kAdServiceData16, LittleEndian(ParseUuid16(value)), text);
        }
        if (kind == "manufacturer") {
            return MakeFilter(protocol::kAdManufacturer, LittleEndian(ParseUuid16(value)), text);
        }
        if (kind == "hex") {
            return MakeFilter(kBleScanFilterAnywhere, ParseHex(value), text);
        }
    }
    throw Failure(ExitStatus::kUsage,
                  "\"" + text +
                      "\" is no filter. There are: name=TEXT, address=HEX, service=UUID, "
                      "manufacturer=ID, hex=BYTES.");
}

std::vector<BleScanFilter> ParseFilters(const std::vector<std::string>& texts)
{
    if (texts.size() > kMostFilters) {
        throw Failure(ExitStatus::kUsage, "There can be five filters at most.");
    }
    std::vector<BleScanFilter> filters;
    filters.reserve(texts.size());
    for (const std::string& text : texts) {
        filters.push_back(ParseFilter(text));
    }
    return filters;
}

// ---- Showing what is heard

const char* EventName(std::int32_t eventType)
{
    switch (eventType) {
        case kBleScanConnectable:
            return "connectable";
        case kBleScanScannable:
            return "scannable";
        case kBleScanNonConnectable:
            return "non-connectable";
        case kBleScanResponse:
            return "scan response";
        default:
            return "unknown";
    }
}

Json RecordOf(const BleScanResultC& result)
{
    const std::span<const std::uint8_t> bytes(
        result.data, std::min<std::size_t>(result.dataLen, sizeof result.data));
    Json record{{"time", FormatTime(std::chrono::system_clock::now())},
                {"address", FormatAddress(result.address)},
                {"rssi", result.rssi},
                {"event", EventName(result.eventType)}};
    AddFields(record, ReadAdvertisedData(bytes));
    record["data"] = FormatHex(bytes);
    return record;
}

/// A table on a terminal, JSON lines for programs, and otherwise a line for each device that is
/// new or says something new.
class Display {
  public:
    Display(const Console& console, DeviceTable::Order order)
        : console_(console),
          live_(console),
          order_(order),
          redraws_(console.IsTerminal() && !console.Json())
    {}

    void Show(const BleScanResultC& result)
    {
        const DeviceTable::News news = table_.Add(result, Clock::now());
        if (console_.Json()) {
            console_.Report(RecordOf(result), "");
        } else if (!redraws_ && news != DeviceTable::News::kNothing) {
            console_.Say(table_.Line(result.address));
        }
    }

    /// Draws the table anew where it is time to. Returns when it will be the next time.
    Clock::time_point Redraw()
    {
        const Clock::time_point now = Clock::now();
        if (now >= next_) {
            next_ = now + kRedrawEvery;
            Draw(now);
        }
        return next_;
    }

    void Finish() { Draw(Clock::now()); }

  private:
    void Draw(Clock::time_point now)
    {
        if (!redraws_) {
            return;
        }
        // The summary and the line that the cursor is left on take two rows. The last column stays
        // empty: some terminals go to the next line when it is written to.
        constexpr int kOtherRows = 2;
        std::vector<std::string> lines = table_.Lines(
            console_, order_, now, static_cast<std::size_t>(std::max(1, console_.Width() - 1)),
            static_cast<std::size_t>(std::max(1, console_.Height() - kOtherRows)));
        lines.push_back(console_.Styled(Console::Style::kDim, Summary(now)));
        live_.Draw(lines);
    }

    std::string Summary(Clock::time_point now) const
    {
        const auto seconds = std::chrono::round<std::chrono::seconds>(now - begin_).count();
        return std::to_string(table_.Devices()) + " devices, " + std::to_string(table_.Results()) +
               " results in " + std::to_string(seconds) + " s";
    }

    const Console& console_;
    DeviceTable table_;
    LiveText live_;
    DeviceTable::Order order_;
    bool redraws_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point next_ = begin_;
};

void Handle(const ScanEvent& event, Display& display, ScanListener& listener)
{
    if (const auto* result = std::get_if<BleScanResultC>(&event)) {
        display.Show(*result);
        return;
    }
    const std::int32_t status = std::get<StatusChange>(event).status;
    if (status == kBleScanServiceRestart) {
        listener.Start();
    } else if (status == kBleScanStoppedAdapterOff) {
        display.Finish();
        throw Failure(ExitStatus::kAdapterOff, "Bluetooth was switched off.");
    }
}

void Scan(const ScanOptions& options, const Console& console)
{
    const std::vector<BleScanFilter> filters = ParseFilters(options.filters);
    const Session session;
    session.RequireBluetooth();
    const std::optional<Deadline> end = After(options.seconds);
    const UntilInterrupt interrupt([] { ScanEvents().Close(); });
    Display display(console, options.order);
    ServiceWatch watch;
    ScanListener listener(filters, options.policy);
    while (!interrupt.Happened() && (!end || Clock::now() < *end)) {
        const Clock::time_point redraw = display.Redraw();
        if (const auto event = ScanEvents().Next(end ? std::min(*end, redraw) : redraw)) {
            Handle(*event, display, listener);
        }
        watch.Look();
    }
    display.Finish();
}

}  // namespace

void AddScanCommand(CLI::App& program, Console& console)
{
    CLI::App* const scan =
        program.add_subcommand("scan", "Show the Bluetooth devices that advertise, until Ctrl-C");
    scan->footer(
        "On a terminal it is a table that is kept up to date. Where the output is none, a line is\n"
        "written for each device that is new or says something new; with --json, one for each\n"
        "result.\n"
        "\n"
        "A filter is one of the following; a result is shown if it passes one of up to five.\n"
        "  name=TEXT        the complete name begins so\n"
        "  address=HEX      the address begins so\n"
        "  service=UUID     it carries data of this 16-bit service\n"
        "  manufacturer=ID  it carries data of this manufacturer\n"
        "  hex=BYTES        these bytes occur in it\n"
        "Each advertisement and each scan response is looked at by itself.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl scan\n"
        "  pelaconctl scan --seconds 5 --filter name=Thermo --filter service=180F\n"
        "  pelaconctl scan --json | jq -r 'select(.rssi > -60) | .address'\n");
    const auto options = std::make_shared<ScanOptions>();
    scan->add_option("--seconds", options->seconds, "End after so many seconds")
        ->check(NotNegative());
    scan->add_option("--filter", options->filters, "Show only what passes; may be repeated")
        ->allow_extra_args(false)
        ->type_name("FILTER");
    scan->add_option("--policy", options->policy,
                     "How much is heard: low-power, balanced or low-latency (which is the default)")
        ->transform(OneOf<BleScanPolicy>({{"low-power", kBleScanLowPower},
                                          {"balanced", kBleScanBalanced},
                                          {"low-latency", kBleScanLowLatency}}))
        ->type_name("POLICY");
    scan->add_option("--sort", options->order,
                     "Order of the table: signal (which is the default), address, name or count")
        ->transform(OneOf<DeviceTable::Order>({{"signal", DeviceTable::Order::kSignal},
                                               {"address", DeviceTable::Order::kAddress},
                                               {"name", DeviceTable::Order::kName},
                                               {"count", DeviceTable::Order::kCount}}))
        ->type_name("ORDER");
    scan->callback([&console, options] { Scan(*options, console); });
}

}  // namespace pelacon::ctl
