// What Wi-Fi operations say, as people write it.
#pragma once

#include <PelaconSDK/WifiStatus.h>
#include <tools/pelaconctl/Session.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace pelacon::ctl {

/// Throws what a Wi-Fi Direct operation's result means, unless it is 0; as CheckResult.
inline void CheckWifi(std::int32_t result, const std::string& request)
{
    CheckResult(result, kWifiNoReply, request);
}

/// The text of a fixed field, up to its NUL or the field's end.
template <std::size_t Size>
std::string_view FieldText(const char (&field)[Size])
{
    const std::string_view all(field, Size);
    return all.substr(0, all.find('\0'));
}

/// The address whose octets these are, the first one first.
template <typename Octet>
std::uint64_t AddressOf(const Octet (&octets)[6])
{
    std::uint64_t address = 0;
    for (const Octet octet : octets) {
        address = address << 8 | static_cast<std::uint8_t>(octet);
    }
    return address;
}

/// "channel 36"
inline std::string ChannelText(std::int32_t channel)
{
    return "channel " + std::to_string(channel);
}

}  // namespace pelacon::ctl
