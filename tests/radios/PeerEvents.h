// How a program connects to LibraryPeer, and what is reported about it.
#pragma once

#include <PelaconSDK/PelaconSDK.h>
#include <service/linux/HardwareAddress.h>
#include <tests/radios/AdvertisingWatch.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace pelacon::radios_test {

/// From the environment of the program.
inline std::uint64_t PeerAddress()
{
    const char* const text = std::getenv("PEER");
    return service::linux_radios::ParseAddress(text != nullptr ? text : "").value_or(0);
}

/// What the callbacks of a client report; guarded by the mutex.
struct PeerEvents {
    using State = std::pair<std::int32_t, std::int32_t>;  // and its reason
    static constexpr State kNone{-1, -1};
    static constexpr State kConnected{kBleGattConnected, kBleGattReasonNone};
    static constexpr State kDisconnected{kBleGattDisconnected, kBleGattReasonLocal};

    std::mutex mutex;
    std::condition_variable changed;
    std::int32_t client = 0;  ///< reports about others are dropped
    std::vector<State> states;
    std::vector<std::vector<std::uint8_t>> values;

    template <typename Condition>
    bool Wait(const Condition& condition, std::chrono::milliseconds patience)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, patience, condition);
    }
    template <typename Change>
    void Note(const Change& change)
    {
        const std::lock_guard lock(mutex);
        change();
        changed.notify_all();
    }
    void Forget(std::int32_t nextClient)
    {
        Note([&] {
            client = nextClient;
            states.clear();
            values.clear();
        });
    }
    /// The state after the first ones; kNone if none is reported in time.
    State NextState(std::size_t after, std::chrono::milliseconds patience)
    {
        const bool isThere = Wait([&] { return states.size() > after; }, patience);
        return isThere ? states[after] : kNone;
    }
    std::size_t States()
    {
        const std::lock_guard lock(mutex);
        return states.size();
    }
};
inline PeerEvents peerEvents;

inline BtGattClientCallbacksC peerCallbacks{
    [](std::int32_t client, std::int32_t state, std::int32_t reason) {
        peerEvents.Note([&] {
            if (client == peerEvents.client) {
                peerEvents.states.emplace_back(state, reason);
            }
        });
    },
    [](std::int32_t client, const char*, const char*, const std::uint8_t* data,
       std::uint32_t dataLen, std::int32_t) {
        peerEvents.Note([&] {
            if (client == peerEvents.client) {
                peerEvents.values.emplace_back(data, data + dataLen);
            }
        });
    }};

/// Connects as soon as the peer advertises, which it does before the first call, on hci1. Returns
/// the state that is reported.
inline PeerEvents::State Connect(std::int32_t client, std::chrono::milliseconds patience)
{
    static AdvertisingWatch watch(1);
    if (!watch.WaitUntilFree(patience)) {
        return PeerEvents::kNone;
    }
    const std::size_t before = peerEvents.States();
    BleGattClientConnect(client, PeerAddress(), &peerCallbacks);
    return peerEvents.NextState(before, patience);
}

inline PeerEvents::State Disconnect(std::int32_t client, std::chrono::milliseconds patience)
{
    const std::size_t before = peerEvents.States();
    BleGattClientDisconnect(client);
    return peerEvents.NextState(before, patience);
}

}  // namespace pelacon::radios_test
