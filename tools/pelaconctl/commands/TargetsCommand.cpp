// pelaconctl targets: targeted advertisements.
#include <PelaconSDK/BleScanner.h>
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
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kMostTargetData = sizeof(TargetAdvInfo::data);

Mailbox<TargetAdvInfo>& Received()
{
    static auto& received = *new Mailbox<TargetAdvInfo>;
    return received;
}

/// Hears one business as long as it lives.
class TargetsListener {
  public:
    explicit TargetsListener(std::int32_t business)
        : business_(static_cast<BleTargetBusiness>(business))
    {
        static VoviewRecvAdvCallbacksC table{[](TargetAdvInfo info) { Received().Post(info); }};
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
    const std::string data = FormatHex(info.data);
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
    const Session session;
    const std::optional<Deadline> end = After(seconds);
    const UntilInterrupt interrupt([] { Received().Close(); });
    std::vector<std::unique_ptr<TargetsListener>> listeners;
    listeners.reserve(businesses.size());
    for (const std::int32_t business : businesses) {
        listeners.push_back(std::make_unique<TargetsListener>(business));
    }
    ServiceWatch watch;
    while (!interrupt.Happened() && (!end || ServiceWatch::Clock::now() < *end)) {
        const Deadline look = ServiceWatch::Clock::now() + ServiceWatch::kEvery;
        if (const auto info = Received().Next(end ? std::min(*end, look) : look)) {
            Show(*info, console);
        }
        watch.Look();
    }
}

void Send(std::int32_t business, const std::string& hex, const Console& console)
{
    const std::vector<std::uint8_t> bytes = ParseHex(hex);
    if (bytes.size() > kMostTargetData) {
        throw Failure(ExitStatus::kUsage,
                      "A targeted advertisement has 36 bytes at most; this one "
                      "has " +
                          std::to_string(bytes.size()) + ".");
    }
    TargetAdvInfo info{};
    info.business = static_cast<BleTargetBusiness>(business);
    std::copy(bytes.begin(), bytes.end(), info.data);
    const Session session;
    Check(BleOnRecvVoviewData(info), "pass on a targeted advertisement");
    console.Report({{"business", business}, {"data", FormatHex(info.data)}},
                   "Sent to those who listen for business " + std::to_string(business) + ".");
}

}  // namespace

void AddTargetsCommand(CLI::App& program, Console& console)
{
    CLI::App* const targets = program.add_subcommand(
        "targets", "Targeted advertisements: for the programs of one business");
    targets->require_subcommand(1);
    targets->footer(
        "A business is a number that its programs agree on; the built-in world sends for 1.\n"
        "\n"
        "Examples:\n"
        "  pelaconctl targets listen 1 7 --seconds 30\n"
        "  pelaconctl targets send 7 'ca fe'\n");

    const auto businesses = std::make_shared<std::vector<std::int32_t>>();
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const listen =
        targets->add_subcommand("listen", "Show those of one or more businesses, until Ctrl-C");
    listen->add_option("BUSINESS", *businesses, "Its number")->required();
    listen->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    listen->callback([&console, businesses, seconds] { Listen(*businesses, *seconds, console); });

    const auto business = std::make_shared<std::int32_t>(0);
    const auto data = std::make_shared<std::string>();
    CLI::App* const send = targets->add_subcommand("send", "Send one to all who listen");
    send->add_option("BUSINESS", *business, "Its number")->required();
    send->add_option("DATA", *data, "Up to 36 bytes in hexadecimal; zeros follow");
    send->callback([&console, business, data] { Send(*business, *data, console); });
}

}  // namespace pelacon::ctl
