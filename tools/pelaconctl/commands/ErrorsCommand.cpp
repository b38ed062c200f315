// pelaconctl errors: connection errors that the service tells of.
#include <PelaconSDK/WifiSystemApi.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Happenings.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <ratio>
#include <string>

namespace pelacon::ctl {

namespace {

std::string CodeText(std::int32_t code)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text = "0x";
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += kDigits[(static_cast<std::uint32_t>(code) >> shift) & 0xFU];
    }
    return text;
}

/// Posts what it is told. An error brings the time at which it was posted itself.
class ErrorEars : public ErrorListener {
  public:
    void OnError(ErrorDetail detail) override
    {
        using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
        const std::chrono::system_clock::time_point posted(
            std::chrono::duration_cast<std::chrono::system_clock::duration>(Ticks(detail.time)));
        Happenings().Post({{{"time", FormatTime(posted)},
                            {"code", detail.code},
                            {"message", Printable(detail.message)}},
                           CodeText(detail.code) + "  " + Printable(detail.message)});
    }
};

/// Registers ears for good: a listener that is taken away while an error is on its way would end
/// the delivery to all others.
struct ErrorsListener {
    ErrorsListener()
    {
        static ErrorEars& ears = *new ErrorEars;
        WifiSystemApi::GetInstance().RegistListener(&ears);
    }
};

void ShowText(std::int32_t code, const Console& console)
{
    const std::string message =
        WifiSystemApi::GetInstance().GetErrorString(static_cast<ConnectErrorCode>(code));
    console.Report({{"code", code}, {"message", message}}, CodeText(code) + "  " + message);
}

}  // namespace

void AddErrorsCommand(CLI::App& program, Console& console)
{
    CLI::App* const errors =
        program.add_subcommand("errors", "Connection errors that the service tells of");
    errors->require_subcommand(1);
    errors->footer(
        "Examples:\n"
        "  pelaconctl errors watch\n"
        "  pelaconctl errors text 268435457\n");

    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const watch = errors->add_subcommand("watch", "Show each error as it comes");
    watch->add_option("--seconds", *seconds, "End after so many seconds")->check(NotNegative());
    watch->callback([&console, seconds] { Watch<ErrorsListener>(*seconds, console); });

    const auto code = std::make_shared<std::int32_t>(0);
    CLI::App* const text = errors->add_subcommand("text", "Show the text of a code");
    text->add_option("CODE", *code, "The code, as a number")->required();
    text->callback([&console, code] { ShowText(*code, console); });
}

}  // namespace pelacon::ctl
