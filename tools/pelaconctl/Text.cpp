#include <PelaconSDK/BleManager.h>
#include <os/UtcTime.h>
#include <tools/pelaconctl/Columns.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Text.h>

#include <algorithm>
#include <ctime>
#include <iomanip>
#include <mutex>
#include <optional>
#include <sstream>

namespace pelacon::ctl {

namespace {

constexpr std::size_t kAddressBytes = 6;

bool IsSeparator(char character)
{
    return character == ' ' || character == ':' || character == '-';
}

/// The bytes, or nothing when the text is not hexadecimal. The two digits of a byte must not be
/// separated.
std::optional<std::vector<std::uint8_t>> BytesOf(std::string_view text)
{
    std::vector<std::uint8_t> bytes;
    while (!text.empty()) {
        if (IsSeparator(text.front())) {
            text.remove_prefix(1);
        } else if (const auto byte = protocol::TakeHexByte(text)) {
            bytes.push_back(*byte);
        } else {
            return std::nullopt;
        }
    }
    return bytes;
}

/// Local time in fields. All threads share the result of localtime, hence the lock.
std::tm LocalFields(std::chrono::system_clock::time_point time)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    return *std::localtime(&seconds);
}

/// Bytes of the UTF-8 character at the front of the text; 0 when there is none, or a control
/// character.
std::size_t PrintableCharacter(std::string_view text)
{
    constexpr char32_t kFirstAfterControls = 0xA0;
    const Utf8Character character = FirstCharacter(text);
    const bool isPrintable =
        character.code >= kFirstAfterControls || (character.code >= 0x20 && character.code < 0x7F);
    return character.isValid && isPrintable ? character.size : 0;
}

}  // namespace

std::uint64_t ParseAddress(std::string_view text)
{
    const auto bytes = BytesOf(text);
    if (!bytes || bytes->size() != kAddressBytes) {
        throw Failure(ExitStatus::kUsage,
                      "\"" + std::string(text) +
                          "\" is not an address: six bytes in hexadecimal, such "
                          "as 5C:F3:70:8B:12:34.");
    }
    return protocol::AddressOf(*bytes);
}

std::string FormatStation(std::string_view address)
{
    try {
        return protocol::AddressText(ParseAddress(address));
    } catch (const Failure&) {
        return Printable(address);
    }
}

std::vector<std::uint8_t> ParseHex(std::string_view text)
{
    std::string_view digits = text;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
    }
    auto bytes = BytesOf(digits);
    if (!bytes) {
        throw Failure(
            ExitStatus::kUsage,
            "\"" + std::string(text) + "\" is not hexadecimal: two digits a byte, such as 0a1bff.");
    }
    return *std::move(bytes);
}

std::string FormatTime(std::chrono::system_clock::time_point time)
{
    return os::UtcStamp(time, 'T');
}

std::string FormatClock(std::chrono::system_clock::time_point time)
{
    const std::tm fields = LocalFields(time);
    const auto sinceSecond = time - std::chrono::floor<std::chrono::seconds>(time);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(sinceSecond).count();
    std::ostringstream text;
    text << std::put_time(&fields, "%H:%M:%S") << '.' << std::setw(3) << std::setfill('0')
         << milliseconds;
    return text.str();
}

std::string NameOf(std::int32_t number,
                   std::initializer_list<std::pair<std::int32_t, const char*>> names,
                   const std::string& otherwise)
{
    for (const auto& [candidate, name] : names) {
        if (candidate == number) {
            return name;
        }
    }
    return otherwise;
}

std::string StateName(std::int32_t state,
                      std::initializer_list<std::pair<std::int32_t, const char*>> names)
{
    return NameOf(state, names, "in state " + std::to_string(state));
}

std::string BtStateName(std::int32_t state)
{
    return StateName(state, {{kBtStateOff, "off"},
                             {kBtStateTurningOn, "turning on"},
                             {kBtStateOn, "on"},
                             {kBtStateTurningOff, "turning off"}});
}

std::string Printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const std::size_t size = PrintableCharacter(text);
        result += size > 0 ? text.substr(0, size) : "?";
        text.remove_prefix(size > 0 ? size : 1);
    }
    return result;
}

std::string Fit(std::string_view text, std::size_t columns)
{
    constexpr std::string_view kMore = "..";
    const std::size_t width = ColumnsOf(text);
    if (width <= columns) {
        return std::string(text) + std::string(columns - width, ' ');
    }
    const std::size_t mark = std::min(columns, kMore.size());
    std::string result;
    std::size_t used = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const Utf8Character character = FirstCharacter(rest);
        used += ColumnsOf(character.code);
        if (used > columns - mark) {
            used -= ColumnsOf(character.code);
            break;
        }
        result += rest.substr(0, character.size);
        rest.remove_prefix(character.size);
    }
    // Half of a wide character may not fit.
    return result + std::string(columns - mark - used, ' ') + std::string(kMore.substr(0, mark));
}

std::string FormatMessageId(std::int32_t id)
{
    const auto bits = static_cast<std::uint32_t>(id);
    return "0x" + protocol::HexNumber(bits, bits > 0xFFFFFF ? 8 : 6);
}

}  // namespace pelacon::ctl
