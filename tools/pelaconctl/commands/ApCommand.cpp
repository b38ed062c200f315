// pelaconctl ap: the soft access point that phones join.
#include <PelaconSDK/PelaconSvc.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/WifiApi.h>
#include <tools/pelaconctl/WifiText.h>
#include <tools/pelaconctl/commands/ApParts.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <map>
#include <memory>
#include <string>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::ordered_json;

const std::map<std::string, SoftApBand> kBands{
    {"any", kSoftApBandAny}, {"2.4", kSoftApBand24G}, {"5", kSoftApBand5G}};

/// Throws what the result of creating or destroying means, unless it is 0.
void CheckSoftAp(std::int32_t result, const std::string& request)
{
    switch (result) {
        case kSoftApWifiOff:
            throw Failure(ExitStatus::kAdapterOff,
                          "Wi-Fi is off. Switch it on with: pelaconctl wifi on");
        case kSoftApAlreadyExists:
            throw Failure(ExitStatus::kFailed,
                          "There is a soft AP already, or one is being made. See: pelaconctl ap "
                          "status");
        case kSoftApNotExisting:
            throw Failure(ExitStatus::kFailed, "There is no soft AP.");
        case kSoftApOtherPurpose:
            throw Failure(ExitStatus::kFailed,
                          "The soft AP was created for another purpose. See: pelaconctl ap destroy "
                          "--help");
        case kSoftApInterrupted:
            throw Failure(ExitStatus::kFailed,
                          "The soft AP was destroyed, or PelaconService restarted, before it was "
                          "there.");
        case kSoftApNotPossible:
            throw Failure(ExitStatus::kFailed,
                          "A soft AP is not possible: the radio failed, or there is no channel "
                          "that both this machine and the phone support. See: pelaconctl wifi "
                          "channels");
        default:
            CheckResult(result, -1, request);
    }
}

/// What became of creating or destroying, as the status has it.
std::string ResultText(std::int32_t result)
{
    switch (result) {
        case kSoftApSuccess:
            return "done";
        case kSoftApWifiOff:
            return "Wi-Fi was off";
        case kSoftApAlreadyExists:
            return "there was one already";
        case kSoftApNotExisting:
            return "there was none";
        case kSoftApOtherPurpose:
            return "it was created for another purpose";
        case kSoftApInterrupted:
            return "destroyed before it was there";
        case kSoftApNotPossible:
            return "not possible";
        default:
            return "code " + std::to_string(result);
    }
}

/// A soft AP that nobody waits for any more is not to appear after this program has ended.
void AbandonCreation(std::int32_t purpose, const Console& console)
{
    const Spinner spinner(console, "Taking the request back");
    Wifi().SystemDestroySoftAP(static_cast<EGoPurpose>(purpose));
}

void Create(const std::string& band, std::int32_t purpose, const Console& console)
{
    const Session session;
    SoftAPInfo info;
    info.requestByte = static_cast<std::uint8_t>(kBands.at(band));
    info.requestInt = purpose;
    std::int32_t result = -1;
    bool interrupted = false;
    {
        // Stopping the library ends the wait.
        const UntilInterrupt interrupt([] { PelaconSvcStop(); });
        const Spinner spinner(console, "Creating a soft AP");
        result = Wifi().SystemCreateSoftAP(info);
        interrupted = interrupt.Happened();
    }
    if (interrupted) {
        PelaconSvcStart();
        if (result == -1 || result == kSoftApSuccess) {  // otherwise any soft AP is not this one
            AbandonCreation(purpose, console);
        }
        throw Failure(ExitStatus::kInterrupted, "Interrupted: no soft AP was created.");
    }
    if (result == -1) {
        ProbeService();
        AbandonCreation(purpose, console);
        throw Failure(ExitStatus::kNoAnswer,
                      "PelaconService did not create a soft AP in time; it was told to give up.");
    }
    CheckSoftAp(result, "create a soft AP");
    const std::string address = FormatAddress(AddressOf(info.mac));
    const std::string channel = ChannelText(info.apByte1);
    console.Report({{"ssid", Printable(info.ssid)},
                    {"passPhrase", Printable(info.password)},
                    {"address", address},
                    {"ipAddress", Printable(info.ipAddress)},
                    {"channel", info.apByte1}},
                   console.Styled(Console::Style::kBold, "There is a soft AP on " + channel + ".") +
                       "\nName         " + Printable(info.ssid) + "\nPass phrase  " +
                       Printable(info.password) + "\nAddress      " + address + "\nIP address   " +
                       Printable(info.ipAddress));
}

void Destroy(std::int32_t purpose, const Console& console)
{
    const Session session;
    std::int32_t result = -1;
    {
        const Spinner spinner(console, "Destroying the soft AP");
        result = Wifi().SystemDestroySoftAP(static_cast<EGoPurpose>(purpose));
    }
    CheckSoftAp(result, "destroy the soft AP");
    console.Report({{"destroyed", true}}, "The soft AP is gone.");
}

void ShowStatus(const Console& console)
{
    const Session session;
    const bool exists = Wifi().CheckMySoftAPExist();
    const std::string ssid = Printable(Wifi().GetSSID());
    const int channel = Wifi().GetSoftAPChannel();
    const std::string ipAddress = Printable(Wifi().GetLegacyAPIP());
    const unsigned long index = Wifi().GetAdapterIndex();
    const std::string guid = Printable(Wifi().GetAdapterGuid());
    const unsigned restarts = Wifi().GetRestartCount();
    const unsigned wakeUps = Wifi().GetWakeUpRestartCount();
    const std::int32_t lastError = Wifi().GetSoftApError();
    if (lastError == -1) {
        FailForNoAnswer("describe the soft AP");
    }
    const std::string where = exists ? "There is a soft AP on " + ChannelText(channel) + "."
                                     : std::string("There is no soft AP. One would be:");
    console.Report({{"exists", exists},
                    {"ssid", ssid},
                    {"channel", channel},
                    {"ipAddress", ipAddress},
                    {"adapter", {{"index", index}, {"guid", guid}}},
                    {"restarts", restarts},
                    {"wakeUpRestarts", wakeUps},
                    {"lastError", lastError}},
                   console.Styled(Console::Style::kBold, where) + "\nName         " + ssid +
                       (exists ? "\nIP address   " + ipAddress : "") + "\nAdapter      " + guid +
                       ", index " + std::to_string(index) + "\nRestarts     " +
                       std::to_string(restarts) + ", " + std::to_string(wakeUps) +
                       " after a wake-up\nLast result  " + ResultText(lastError));
}

void AddApLife(CLI::App& ap, const Console& console)
{
    const auto band = std::make_shared<std::string>("any");
    const auto createPurpose = std::make_shared<std::int32_t>(kGoPurposeAny);
    CLI::App* const create =
        ap.add_subcommand("create", "Create the soft AP, and wait up to 20 s until it is there");
    create->add_option("--band", *band, "The band wished for: 2.4, 5 or any")
        ->check(CLI::IsMember({"any", "2.4", "5"}))
        ->capture_default_str();
    create->add_option("--purpose", *createPurpose,
                       "What it is for: 0 anything, 1 passing files on, 2 sharing a screen");
    create->callback([&console, band, createPurpose] { Create(*band, *createPurpose, console); });

    const auto destroyPurpose = std::make_shared<std::int32_t>(kGoPurposeAny);
    CLI::App* const destroy = ap.add_subcommand("destroy", "Destroy the soft AP");
    destroy->add_option("--purpose", *destroyPurpose,
                        "Only if it is for this; 0, without the option, whatever it is for");
    destroy->callback([&console, destroyPurpose] { Destroy(*destroyPurpose, console); });

    ap.add_subcommand("status", "Describe the soft AP, and the adapter that it is on")
        ->callback([&console] { ShowStatus(console); });
}

}  // namespace

void AddApCommand(CLI::App& program, Console& console)
{
    CLI::App* const ap = program.add_subcommand("ap", "The soft access point that phones join");
    ap->require_subcommand(1);
    ap->footer(
        "Examples:\n"
        "  pelaconctl ap create --band 5\n"
        "  pelaconctl ap watch --json | jq -c 'select(.event == \"device\")'\n"
        "  pelaconctl ap move 2.4\n"
        "  pelaconctl ap rename && pelaconctl ap status\n");
    AddApLife(*ap, console);
    AddApSettings(*ap, console);
    AddApWatch(*ap, console);
}

}  // namespace pelacon::ctl
