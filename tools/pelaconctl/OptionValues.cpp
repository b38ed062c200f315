#include <tools/pelaconctl/OptionValues.h>

#include <charconv>
#include <cmath>
#include <optional>

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

}  // namespace

CLI::Validator NotNegative()
{
    const auto check = [](std::string& text) -> std::string {
        const auto number = ReadNumber(text);
        return number && *number >= 0 ? "" : "\"" + text + "\" is no number from 0 on";
    };
    return {check, ""};
}

CLI::Validator AboveZero()
{
    const auto check = [](std::string& text) -> std::string {
        const auto number = ReadNumber(text);
        return number && *number > 0 ? "" : "\"" + text + "\" is no number above 0";
    };
    return {check, ""};
}

}  // namespace pelacon::ctl
