// pelaconctl errors: connection errors that the service reports.
#include <PelaconSDK/WifiSystemApi.h>
#include <tools/pelaconctl/Watch.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <ratio>

namespace pelacon::ctl {

namespace {

std::string CodeText(std::int32_t code)
{
    return "0x" + protocol::HexNumber(static_cast<std::uint32_t>(code), 8);
}

/// The record's time is the one at which the error was reported.
class ErrorPoster : public ErrorListener {
  public:
    void OnError(ErrorDetail detail) override
    {
        using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
        const std::chrono::system_clock::time_point reported(
            std::chrono::duration_cast<std::chrono::system_clock::duration>(Ticks(detail.time)));
        Events<WatchedEvent>().Post({{{"time", FormatTime(reported)},
                                      {"code", detail.code},
                                      {"message", Printable(detail.message)}},
                                     CodeText(detail.code) + "  " + Printable(detail.message)});
    }
};

/// Registers a poster that is never unregistered: unregistering a listener while an error is being
/// delivered would end the delivery to the other listeners.
struct ErrorsListener {
    ErrorsListener()
    {
        static ErrorPoster& poster = *new ErrorPoster;
        WifiSystemApi::GetInstance().RegistListener(&poster);
    }
};

void ShowText(std::int32_t code, const Console& console)
{
    const std::string message =
        WifiSystemApi::GetInstance().GetErrorString(static_cast<ConnectErrorCode>(code));
    console.Report({{"code", code}, {"message", message}}, CodeText(code) + "  " + message);
}

}  // namespace

void AddErrorsCommand(CLI::App& program, const Console& console)
{
    CLI::App* const errors =
        program.add_subcommand("errors", "Connection errors that the service reports");
    errors->require_subcommand(1);
    errors->footer(
        "Examples:\n"
        "  pelaconctl errors watch\n"
        "  pelaconctl errors text 268435457\n");

    AddWatch<ErrorsListener>(*errors, "Show each error as it is reported", console);

    const auto code = std::make_shared<std::int32_t>(0);
    CLI::App* const text = errors->add_subcommand("text", "Show the text of an error code");
    text->add_option("CODE", *code, "The code, such as 0x10000001")->required();
    text->callback([&console, code] { ShowText(*code, console); });
}

}  // namespace pelacon::ctl
