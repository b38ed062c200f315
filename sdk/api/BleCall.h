// Operations on Bluetooth LE and GATT.
#pragma once

#include <PelaconSDK/BleStatus.h>
#include <sdk/api/Call.h>

namespace pelacon {

class BleCall : public Call<BleStatusC> {
  public:
    explicit BleCall(const char* function, os::Lock* lock = nullptr,
                     std::string_view firstLine = "start")
        : Call(function, kBleStatusFailed, kBleStatusNoReply, lock, firstLine)
    {}
};

/// The result of an operation whose reply has a status.
inline constexpr ResultOf<BleStatusC> BleStatusOf;

}  // namespace pelacon
