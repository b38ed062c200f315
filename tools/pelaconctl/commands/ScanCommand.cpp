// pelaconctl scan: the devices that advertise.
#include <PelaconSDK/BleScanner.h>
#include <tools/pelaconctl/AdvertisedData.h>
#include <tools/pelaconctl/DeviceTable.h>
#include <tools/pelaconctl/ScanFilters.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <variant>

namespace pelacon::ctl {

namespace {

using Clock = DeviceTable::Clock;

constexpr auto kRedrawEvery = std::chrono::milliseconds(200);

struct ScanOptions {
    std::optional<double> seconds;
    std::vector<std::string> filters;
    BleScanPolicy policy = kBleScanLowLatency;
    DeviceTable::Order order = DeviceTable::Order::kSignal;
};

/// A change of the listener's status.
struct StatusChange {
    std::int32_t status;
};
using ScanEvent = std::variant<BleScanResultC, StatusChange>;

/// Scans while it lives.
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

    /// Called again after a restart of the service, which forgets filters and policy.
    void Start()
    {
        if (!filters_.empty()) {
            Check(SetScanFilter(id_, filters_.data(), static_cast<int>(filters_.size())),
                  "set the scan filters");
        }
        Check(StartBleScan(id_, policy_), "scan");
    }

  private:
    static BleScanCallbacksC& Table()
    {
        static BleScanCallbacksC table{
            [](std::int32_t, std::int32_t status) {
                Events<ScanEvent>().Post(StatusChange{status});
            },
            [](std::int32_t, BleScanResultC result) { Events<ScanEvent>().Post(result); }};
        return table;
    }

    std::vector<BleScanFilter> filters_;
    BleScanPolicy policy_;
    int id_ = 0;
};

// ---- Showing results

std::string EventName(std::int32_t eventType)
{
    return NameOf(eventType,
                  {{kBleScanConnectable, "connectable"},
                   {kBleScanScannable, "scannable"},
                   {kBleScanNonConnectable, "non-connectable"},
                   {kBleScanResponse, "scan response"}},
                  "unknown");
}

Json RecordOf(const BleScanResultC& result)
{
    const std::span<const std::uint8_t> bytes(
        result.data, std::min<std::size_t>(result.dataLen, sizeof result.data));
    Json record{{"time", FormatTime(std::chrono::system_clock::now())},
                {"address", protocol::AddressText(result.address)},
                {"rssi", result.rssi},
                {"event", EventName(result.eventType)}};
    AddFields(record, ReadAdvertisedData(bytes));
    record["data"] = protocol::HexText(bytes);
    return record;
}

/// Shows a table on a terminal, JSON lines for programs, and otherwise a line for each device whose
/// name or data are new.
class Display {
  public:
    Display(const Console& console, DeviceTable::Order order)
        : console_(console), order_(order), redraws_(console.IsTerminal() && !console.Json())
    {}

    /// Whether it is a table, which says by itself that the service is gone.
    bool IsTable() const { return redraws_; }

    void Show(const BleScanResultC& result)
    {
        const DeviceTable::Change change = table_.Add(result, Clock::now());
        if (console_.Json()) {
            console_.Report(RecordOf(result), "");
        } else if (!redraws_ && change != DeviceTable::Change::kNone) {
            console_.Say(table_.Line(result.address));
        }
    }

    /// Draws the table again if it is time to. Returns the time left until the next drawing.
    Clock::duration Redraw()
    {
        const Clock::time_point now = Clock::now();
        if (now >= next_) {
            next_ = now + kRedrawEvery;
            Draw(now);
        }
        return next_ - now;
    }

    void Finish() { Draw(Clock::now()); }

  private:
    void Draw(Clock::time_point now)
    {
        if (!redraws_) {
            return;
        }
        // The summary and the line of the cursor take two rows. The last column stays empty, as
        // some terminals start a new line when it is written to.
        constexpr int kOtherRows = 2;
        const os::TerminalSize size = console_.Size();
        std::vector<std::string> lines = table_.Lines(
            console_, order_, now, static_cast<std::size_t>(std::max(1, size.columns - 1)),
            static_cast<std::size_t>(std::max(1, size.rows - kOtherRows)));
        lines.push_back(console_.Styled(
            Console::Style::kDim,
            Fit(Summary(now), static_cast<std::size_t>(std::max(1, size.columns - 1)))));
        DrawOver(lines);
    }

    /// Replaces the lines drawn before, none of which may be wider than the terminal.
    void DrawOver(const std::vector<std::string>& lines)
    {
        constexpr char kClearRestOfLine[] = "\033[K";
        constexpr char kClearBelow[] = "\033[J";
        std::string text = drawn_ > 0 ? "\033[" + std::to_string(drawn_) + "A\r" : "";
        for (const std::string& line : lines) {
            text += line + kClearRestOfLine + "\n";
        }
        console_.Put(text + kClearBelow);
        drawn_ = lines.size();
    }

    std::string Summary(Clock::time_point now) const
    {
        const auto seconds = std::chrono::round<std::chrono::seconds>(now - begin_).count();
        const PelaconServiceState state = PelaconGetServiceState();
        const std::string notice =
            state == kPelaconServiceLost ? "  " + ServiceStateSentence(state) : "";
        return std::to_string(table_.Devices()) + " devices, " + std::to_string(table_.Results()) +
               " results in " + std::to_string(seconds) + " s" + notice;
    }

    const Console& console_;
    DeviceTable table_;
    DeviceTable::Order order_;
    bool redraws_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point next_ = begin_;
    std::size_t drawn_ = 0;  // lines
};

void Handle(const ScanEvent& event, const ScanFilters& filters, Display& display,
            ScanListener& listener)
{
    if (const auto* result = std::get_if<BleScanResultC>(&event)) {
        if (filters.Match(*result)) {
            display.Show(*result);
        }
        return;
    }
    const std::int32_t status = std::get<StatusChange>(event).status;
    if (status == kBleScanServiceRestart) {
        listener.Start();
    } else if (status == kBleScanStoppedAdapterOff) {
        display.Finish();
        throw Failure(ExitStatus::kAdapterOff, "Bluetooth was switched off.");
    } else if (status == kBleScanRadioFailed) {
        display.Finish();
        throw Failure(ExitStatus::kFailed, "The radio ended the scan.");
    }
}

void Scan(const ScanOptions& options, const Console& console)
{
    const ScanFilters filters(options.filters);
    const LibrarySession session;
    session.RequireBluetooth();
    Display display(console, options.order);
    EventLoop<ScanEvent> loop(options.seconds, display.IsTable()
                                                   ? [](PelaconServiceState) {}
                                                   : &ServiceNotices::OnStandardError);
    ScanListener listener(filters.ForService(), options.policy);
    while (loop.Continues()) {
        if (const auto event = loop.Next(display.Redraw())) {
            Handle(*event, filters, display, listener);
        }
    }
    display.Finish();
}

}  // namespace

void AddScanCommand(CLI::App& program, const Console& console)
{
    CLI::App* const scan =
        program.add_subcommand("scan", "Show the Bluetooth devices that advertise, until Ctrl-C");
    scan->footer(
        "A terminal shows a table that is kept up to date. Other outputs get a line for each "
        "device\n"
        "that is new or whose name or data change; with --json, a line for each result.\n"
        "\n"
        "There may be up to five filters; a result is shown if it matches one of them:\n"
        "  name=TEXT        the complete name begins with TEXT\n"
        "  address=HEX      the address begins with HEX\n"
        "  service=UUID     it names this service, or contains data of it\n"
        "  manufacturer=ID  it contains data of this manufacturer\n"
        "  hex=BYTES        it contains these bytes\n"
        "Filters apply to each advertisement and each scan response separately.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl scan\n"
        "  pelaconctl scan --seconds 5 --filter name=Thermo --filter service=180F\n"
        "  pelaconctl scan --json | jq -r 'select(.rssi > -60) | .address'\n");
    const auto options = std::make_shared<ScanOptions>();
    AddSeconds(*scan, options->seconds);
    scan->add_option("--filter", options->filters, "Show only results that match; may be repeated")
        ->allow_extra_args(false)
        ->type_name("FILTER");
    scan->add_option("--policy", options->policy,
                     "How much is received: low-power, balanced or low-latency (default)")
        ->transform(OneOf<BleScanPolicy>({{"low-power", kBleScanLowPower},
                                          {"balanced", kBleScanBalanced},
                                          {"low-latency", kBleScanLowLatency}}))
        ->type_name("POLICY");
    scan->add_option("--sort", options->order,
                     "Order of the table: signal (default), address, name or count")
        ->transform(OneOf<DeviceTable::Order>({{"signal", DeviceTable::Order::kSignal},
                                               {"address", DeviceTable::Order::kAddress},
                                               {"name", DeviceTable::Order::kName},
                                               {"count", DeviceTable::Order::kCount}}))
        ->type_name("ORDER");
    scan->callback([&console, options] { Scan(*options, console); });
}

}  // namespace pelacon::ctl
