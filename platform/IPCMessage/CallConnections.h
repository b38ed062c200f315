// The connections that carry requests. One caller uses a connection from request to reply.
#pragma once

#include <IPCMessage/Transport.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

namespace pelacon::ipc {

/// A pool of call connections to one service. The caller itself writes its request and reads its
/// reply, so a call costs one send and one receive on either side and wakes no third thread. A
/// thread tends to get the same connection again, without a lock.
class CallConnections {
  public:
    static constexpr std::size_t kLimit = 64;  ///< beyond it, callers wait for each other

    CallConnections(PipePlaces places, const Token& token);

    /// Makes one call. The request must fit a frame; it does not overtake what was sent before
    /// `order`. Returns kLost for every failure but a time-out.
    IoStatus Call(const TagIPCMessageItem& request, std::uint64_t order, TagIPCMessageItem& reply,
                  Deadline& deadline);

    /// Ends all calls that wait, and makes later ones fail.
    void Stop();

  private:
    enum class State : std::uint8_t {
        kUnused,  ///< free and not connected
        kIdle,    ///< free and connected
        kBusy,    ///< owned by a caller
    };

    class Tenure;

    /// A place for one connection. The thread that made it busy owns it until it releases it.
    struct alignas(64) Slot {
        std::atomic<State> state{State::kUnused};
        IoStatus status{};  ///< of the last call
        std::uint64_t sequence = 0;
        std::unique_ptr<FrameBuffer> buffer;
        std::unique_ptr<Connection> connection;  ///< changed by the owner under `exchange`
        std::mutex exchange;                     ///< for Stop, which another thread calls
    };

    Slot* Claim(Deadline& deadline);
    Slot* TryClaim();
    Slot* TryClaimFrom(std::size_t index, State wanted) noexcept;
    void Release(Slot& slot);
    IoStatus Exchange(Slot& slot, const TagIPCMessageItem& request, std::uint64_t order,
                      TagIPCMessageItem& reply, Deadline& deadline);
    IoStatus SendRequest(Slot& slot, std::span<const std::uint8_t> frame, Deadline& deadline);
    IoStatus Open(Slot& slot, Deadline& deadline);
    void Put(Slot& slot, std::unique_ptr<Connection> connection);

    const std::uint64_t id_;  ///< no two pools of a process have the same
    const PipePlaces places_;
    const Token token_;
    std::atomic<bool> stopped_{false};
    std::atomic<std::size_t> opened_{0};  ///< slots at the front that have ever been used
    std::array<Slot, kLimit> slots_;

    std::atomic<int> waiting_{0};
    std::mutex waitMutex_;
    std::condition_variable released_;
};

}  // namespace pelacon::ipc
