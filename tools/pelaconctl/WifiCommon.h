// What the Wi-Fi commands share.
#pragma once

#include <PelaconSDK/WifiStatus.h>
#include <PelaconSDK/WifiSystemApi.h>
#include <tools/pelaconctl/LibrarySession.h>

#include <cstdint>
#include <string>

namespace pelacon::ctl {

inline WifiSystemApi& Wifi()
{
    return WifiSystemApi::GetInstance();
}

/// CheckResult for Wi-Fi Direct operations.
inline void CheckWifi(std::int32_t result, const std::string& request,
                      const ResultSentences& sentences = {})
{
    CheckResult(kPelaconStatusWifi, result, request, sentences);
}

/// "channel 36"
inline std::string ChannelText(std::int32_t channel)
{
    return "channel " + std::to_string(channel);
}

}  // namespace pelacon::ctl
