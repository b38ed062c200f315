// Operations on Wi-Fi Direct, of which one runs at a time.
#pragma once

#include <PelaconSDK/WifiStatus.h>
#include <sdk/api/Call.h>

namespace pelacon {

inline constinit os::Lock vod2dLock;

class Vod2dCall : public Call<WifiErrorCode> {
  public:
    explicit Vod2dCall(const char* function) : Call(function, kWifiFailed, kWifiNoReply, &vod2dLock)
    {}
};

/// The result of an operation whose reply has a status.
inline constexpr ResultOf<WifiErrorCode> WifiStatusOf;

}  // namespace pelacon
