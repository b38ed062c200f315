#include <tools/pelaconctl/OptionValues.h>

#include <charconv>
#include <cmath>

namespace pelacon::ctl {

namespace {

std::optional<double> ReadNumber(const std::string& text)
{
    double number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

CLI::Validator NumberThat(bool (*fits)(double), const std::string& requirement)
{
    const auto check = [fits, requirement](std::string& text) -> std::string {
        const auto number = ReadNumber(text);
        return number && fits(*number) ? "" : "must be " + requirement + ", not \"" + text + "\"";
    };
    return {check, ""};
}

}  // namespace

CLI::Validator NotNegative()
{
    return NumberThat([](double number) { return number >= 0; }, "a number, 0 or more");
}

CLI::Validator AboveZero()
{
    return NumberThat([](double number) { return number > 0; }, "a number above 0");
}

void AddSeconds(CLI::App& command, std::optional<double>& seconds, const CLI::Validator& check)
{
    command.add_option("--seconds", seconds, "End after this many seconds")->check(check);
}

void AddWait(CLI::App& command, double& seconds, const std::string& description,
             const CLI::Validator& check)
{
    command.add_option("--wait", seconds, description)->capture_default_str()->check(check);
}

}  // namespace pelacon::ctl
