// What Wi-Fi Direct operations share: their turn, and what they return when there is no answer.
#pragma once

#include <PelaconSDK/WifiStatus.h>
#include <os/Lock.h>
#include <protocol/Operation.h>
#include <sdk/ipc/Exchange.h>

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

/// Held by an operation of Vod2dApi as long as it lasts.
inline std::unique_lock<os::Lock> LockVod2dApi()
{
    static constinit os::Lock vod2dLock;
    return std::unique_lock(vod2dLock);
}

}  // namespace pelacon
