// pelaconctl ap: the soft access point that phones join.
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/WifiCommon.h>
#include <tools/pelaconctl/commands/Kit.h>

namespace pelacon::ctl {

namespace {

/// Throws the Failure for the result of creating or destroying, unless it is 0.
void CheckSoftAp(std::int32_t result, const std::string& request)
{
    CheckResult(
        kPelaconStatusSoftAp, result, request,
        {{kSoftApWifiOff, "Wi-Fi is off. Switch it on with: pelaconctl wifi on"},
         {kSoftApAlreadyExists,
          "There is a soft AP already, or one is being created. See: pelaconctl ap status"},
         {kSoftApNotExisting, "There is no soft AP."},
         {kSoftApOtherPurpose,
          "The soft AP was created for another purpose. See: pelaconctl ap destroy --help"},
         {kSoftApInterrupted,
          "The soft AP was destroyed, or PelaconService was restarted, before the soft AP was "
          "ready."},
         {kSoftApNotPossible,
          "A soft AP is not possible: the radio failed, or there is no channel that both this "
          "computer and the phone support. See: pelaconctl wifi channels"}});
}

/// Destroys a soft AP that may still be under creation, so that it does not appear after this
/// program has ended.
void CancelCreation(std::int32_t purpose, const Console& console)
{
    const Spinner spinner(console, "Cancelling the request");
    Wifi().SystemDestroySoftAP(static_cast<EGoPurpose>(purpose));
}

void Create(SoftApBand band, std::int32_t purpose, const Console& console)
{
    const LibrarySession session;
    SoftAPInfo info;
    info.requestByte = static_cast<std::uint8_t>(band);
    info.requestInt = purpose;
    std::int32_t result = -1;
    if (session.RunInterruptibly(console, "Creating the soft AP",
                                 [&] { result = Wifi().SystemCreateSoftAP(info); })) {
        // With any other result a soft AP that exists is not this program's.
        if (result == -1 || result == kSoftApSuccess) {
            CancelCreation(purpose, console);
        }
        throw Failure(ExitStatus::kInterrupted, "Interrupted: no soft AP was created.");
    }
    if (result == -1) {
        ProbeService();
        CancelCreation(purpose, console);
        throw Failure(
            ExitStatus::kNoAnswer,
            "PelaconService did not create a soft AP in time; the request was cancelled.");
    }
    CheckSoftAp(result, "create a soft AP");
    const std::string address = protocol::AddressText(protocol::AddressOf(info.mac));
    const std::string channel = ChannelText(info.apByte1);
    console.Report({{"ssid", Printable(info.ssid)},
                    {"passPhrase", Printable(info.password)},
                    {"address", address},
                    {"ipAddress", Printable(info.ipAddress)},
                    {"channel", info.apByte1}},
                   console.Styled(Console::Style::kBold, "There is a soft AP on " + channel + ".") +
                       console.Rows({{"Name", Printable(info.ssid)},
                                     {"Pass phrase", Printable(info.password)},
                                     {"Address", address},
                                     {"IP address", Printable(info.ipAddress)}}));
}

void Destroy(std::int32_t purpose, const Console& console)
{
    const LibrarySession session;
    std::int32_t result = -1;
    {
        const Spinner spinner(console, "Destroying the soft AP");
        result = Wifi().SystemDestroySoftAP(static_cast<EGoPurpose>(purpose));
    }
    CheckSoftAp(result, "destroy the soft AP");
    console.Report({{"destroyed", true}}, "The soft AP was destroyed.");
}

void ShowStatus(const Console& console)
{
    const LibrarySession session;
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
                                     : std::string("There is no soft AP. The next one will use:");
    std::vector<Console::Row> rows{
        {"Name", ssid},
        {"Adapter", guid + ", index " + std::to_string(index)},
        {"Restarts",
         std::to_string(restarts) + ", " + std::to_string(wakeUps) + " after a wake-up"},
        {"Last result", PelaconStatusText(kPelaconStatusSoftAp, lastError)}};
    if (exists) {
        rows.insert(rows.begin() + 1, {"IP address", ipAddress});
    }
    console.Report({{"exists", exists},
                    {"ssid", ssid},
                    {"channel", channel},
                    {"ipAddress", ipAddress},
                    {"adapter", {{"index", index}, {"guid", guid}}},
                    {"restarts", restarts},
                    {"wakeUpRestarts", wakeUps},
                    {"lastError", lastError}},
                   console.Styled(Console::Style::kBold, where) + console.Rows(rows));
}

void AddApLife(CLI::App& ap, const Console& console)
{
    const auto band = std::make_shared<SoftApBand>(kSoftApBandAny);
    const auto createPurpose = std::make_shared<std::int32_t>(kGoPurposeAny);
    CLI::App* const create =
        ap.add_subcommand("create", "Create the soft AP, and wait up to 20 s until it is ready");
    create->add_option("--band", *band, "The preferred band: 2.4, 5 or any (default)")
        ->transform(OneOf<SoftApBand>(
            {{"any", kSoftApBandAny}, {"2.4", kSoftApBand24G}, {"5", kSoftApBand5G}}))
        ->type_name("BAND");
    create->add_option("--purpose", *createPurpose,
                       "What it is for: 0 anything (default), 1 file transfer, 2 screen sharing");
    create->callback([&console, band, createPurpose] { Create(*band, *createPurpose, console); });

    const auto destroyPurpose = std::make_shared<std::int32_t>(kGoPurposeAny);
    CLI::App* const destroy = ap.add_subcommand("destroy", "Destroy the soft AP");
    destroy->add_option("--purpose", *destroyPurpose,
                        "Destroy it only if it is for this purpose; 0 (default): for any");
    destroy->callback([&console, destroyPurpose] { Destroy(*destroyPurpose, console); });

    ap.add_subcommand("status", "Show the soft AP and its adapter")->callback([&console] {
        ShowStatus(console);
    });
}

}  // namespace

void AddApCommand(CLI::App& program, const Console& console)
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
