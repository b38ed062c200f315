// What the measurements with the real service need of its adapter.
#pragma once

#include <PelaconSDK/PelaconSDK.h>

#include <chrono>
#include <stdexcept>

namespace pelacon::bench {

/// The measurements ask whether Bluetooth is on: so that an answer differs from a failure, it has
/// to be on. The library must be started.
inline void SwitchBluetoothOn()
{
    BtEnable();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!IsBtEnabled()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("Bluetooth cannot be switched on.");
        }
    }
}

}  // namespace pelacon::bench
