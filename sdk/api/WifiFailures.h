// What Wi-Fi Direct operations share: their turn, and what they return when there is no answer.
#pragma once

#include <PelaconSDK/WifiStatus.h>
#include <protocol/Operation.h>
#include <sdk/ipc/Exchange.h>

#include <mutex>

namespace pelacon {

inline constexpr Failures<WifiErrorCode> kWifiFailures{kWifiFailed, kWifiNoReply};

/// The result of an operation whose reply is a status and nothing else.
inline WifiErrorCode WifiStatusOf(const protocol::StatusReply& reply)
{
    return static_cast<WifiErrorCode>(reply.status);
}

/// Refuses an argument: logs why, and is the result.
inline WifiErrorCode RefuseWifi(LOG_MESSAGE_LEVEL level, const char* function, const char* why,
                                WifiErrorCode result = kWifiFailed)
{
    diag::Log(level, function, why);
    return result;
}

/// Held by an operation of Vod2dApi as long as it lasts. One that registers a table gives it back
/// first, for a callback, which runs with the registry locked, may call operations.
inline std::unique_lock<std::mutex> LockVod2dApi()
{
    static std::mutex mutex;
    return std::unique_lock(mutex);
}

}  // namespace pelacon
