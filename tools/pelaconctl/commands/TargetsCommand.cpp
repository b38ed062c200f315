// pelaconctl targets: targeted advertisements.
#include <PelaconSDK/BleScanner.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kMaxTargetData = sizeof(TargetAdvInfo::data);

/// Listens for one business while it lives.
class TargetsListener {
  public:
    explicit TargetsListener(std::int32_t business)
        : business_(static_cast<BleTargetBusiness>(business))
    {
        static VoviewRecvAdvCallbacksC table{
            [](TargetAdvInfo info) { Events<TargetAdvInfo>().Post(info); }};
        TargetAdvFilter filter{};
        filter.business = business_;
        Check(BleRegisterTargetAdvCallback(filter, &table), "listen to targeted advertisements");
    }
    ~TargetsListener() { BleUnRegisterTargetAdvCallback(business_); }
    TargetsListener(const TargetsListener&) = delete;
    TargetsListener& operator=(const TargetsListener&) = delete;

  private:
    BleTargetBusiness business_;
};

void Show(const TargetAdvInfo& info, const Console& console)
{
    const auto now = std::chrono::system_clock::now();
    const std::string data = protocol::HexText(info.data);
    console.Report({{"time", FormatTime(now)},
                    {"business", static_cast<std::int32_t>(info.business)},
                    {"data", data}},
                   FormatClock(now) + "  business " + std::to_string(info.business) + "  " + data);
}

void Listen(std::vector<std::int32_t> businesses, std::optional<double> seconds,
            const Console& console)
{
    std::sort(businesses.begin(), businesses.end());
    businesses.erase(std::unique(businesses.begin(), businesses.end()), businesses.end());
    const LibrarySession session;
    EventLoop<TargetAdvInfo> loop(seconds);
    std::vector<std::unique_ptr<TargetsListener>> listeners;
    listeners.reserve(businesses.size());
    for (const std::int32_t business : businesses) {
        listeners.push_back(std::make_unique<TargetsListener>(business));
    }
    while (loop.Continues()) {
        if (const auto info = loop.Next()) {
            Show(*info, console);
        }
    }
}

void Send(std::int32_t business, const std::string& hex, const Console& console)
{
    const std::vector<std::uint8_t> bytes = ParseHex(hex);
    if (bytes.size() > kMaxTargetData) {
        throw Failure(ExitStatus::kUsage,
                      "A targeted advertisement has at most 36 bytes; this one has " +
                          std::to_string(bytes.size()) + ".");
    }
    TargetAdvInfo info{};
    info.business = static_cast<BleTargetBusiness>(business);
    std::copy(bytes.begin(), bytes.end(), info.data);
    const LibrarySession session;
    Check(BleOnRecvVoviewData(info), "send a targeted advertisement");
    console.Report(
        {{"business", business}, {"data", protocol::HexText(info.data)}},
        "Sent to the programs that listen for business " + std::to_string(business) + ".");
}

}  // namespace

void AddTargetsCommand(CLI::App& program, const Console& console)
{
    CLI::App* const targets = program.add_subcommand(
        "targets", "Targeted advertisements: for the programs of one business");
    targets->require_subcommand(1);
    targets->footer(
        "A business is a number that its programs agree on. The built-in world sends for business "
        "1.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl targets listen 1 7 --seconds 30\n"
        "  pelaconctl targets send 7 'ca fe'\n");

    const auto businesses = std::make_shared<std::vector<std::int32_t>>();
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const listen = targets->add_subcommand(
        "listen", "Show advertisements for one or more businesses, until Ctrl-C");
    listen->add_option("BUSINESS", *businesses, "The number of the business")->required();
    AddSeconds(*listen, *seconds);
    listen->callback([&console, businesses, seconds] { Listen(*businesses, *seconds, console); });

    const auto business = std::make_shared<std::int32_t>(0);
    const auto data = std::make_shared<std::string>();
    CLI::App* const send = targets->add_subcommand("send", "Send one to all programs that listen");
    send->add_option("BUSINESS", *business, "The number of the business")->required();
    send->add_option("DATA", *data,
                     "Up to 36 bytes in hexadecimal, padded with zeros; none by default");
    send->callback([&console, business, data] { Send(*business, *data, console); });
}

}  // namespace pelacon::ctl
