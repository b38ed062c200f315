// The library's Wi-Fi operations, as the commands call them.
#pragma once

#include <PelaconSDK/WifiSystemApi.h>

namespace pelacon::ctl {

inline WifiSystemApi& Wifi()
{
    return WifiSystemApi::GetInstance();
}

}  // namespace pelacon::ctl
