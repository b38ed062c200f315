#include <service/selection/RadioChoice.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace pelacon::service {

namespace {

constexpr std::string_view kSimulated = "simulated";
constexpr std::string_view kReal = "linux";

[[noreturn]] void Fail(const std::string& what)
{
    throw std::invalid_argument(what);
}

/// The text up to the separator, which is removed from the text together with the separator.
std::string_view TakePart(std::string_view& text, char separator)
{
    const std::string_view part = text.substr(0, text.find(separator));
    text.remove_prefix(std::min(text.size(), part.size() + 1));
    return part;
}

/// Whether the system may have a network interface or a Bluetooth adapter of this name.
bool IsNameOfAdapter(std::string_view name)
{
    constexpr std::size_t kMost = 15;
    const bool isPlain = std::ranges::all_of(name, [](char character) {
        constexpr std::string_view kOthers = "-_.@";
        return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
               (character >= '0' && character <= '9') ||
               kOthers.find(character) != std::string_view::npos;
    });
    return isPlain && !name.empty() && name.size() <= kMost && name != "." && name != "..";
}

/// "simulated", "linux" or "linux:hci1"
RadioChoice::One ReadOne(std::string_view text)
{
    const bool isNamed = text.find(':') != std::string_view::npos;
    std::string_view adapter = text;
    const std::string_view kind = TakePart(adapter, ':');
    if (kind != kSimulated && kind != kReal) {
        Fail("'" + std::string(kind) + "' is not a kind of radio: simulated or linux");
    }
    if (isNamed && kind == kSimulated) {
        Fail("a simulated radio has no adapter to choose");
    }
    if (isNamed && !IsNameOfAdapter(adapter)) {
        Fail("'" + std::string(adapter) + "' is not the name of an adapter, such as hci0 or wlan0");
    }
    return {kind == kReal, std::string(adapter)};
}

}  // namespace

RadioChoice ReadRadioChoice(std::string_view text)
{
    if (text.find('=') == std::string_view::npos) {
        if (text.find(':') != std::string_view::npos) {
            Fail("an adapter belongs to one radio, such as bluetooth=" + std::string(text));
        }
        return {ReadOne(text), ReadOne(text)};
    }
    RadioChoice choice;
    bool isBluetoothGiven = false;
    bool isWifiGiven = false;
    while (!text.empty()) {
        std::string_view kind = TakePart(text, ',');
        const std::string_view radio = TakePart(kind, '=');
        const bool isBluetooth = radio == "bluetooth";
        if (!isBluetooth && radio != "wifi") {
            Fail("'" + std::string(radio) + "' is not a radio: bluetooth or wifi");
        }
        bool& isGiven = isBluetooth ? isBluetoothGiven : isWifiGiven;
        if (std::exchange(isGiven, true)) {
            Fail(std::string(radio) + " is given twice");
        }
        (isBluetooth ? choice.bluetooth : choice.wifi) = ReadOne(kind);
    }
    return choice;
}

}  // namespace pelacon::service
