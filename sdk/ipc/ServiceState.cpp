#include <os/Fork.h>
#include <os/SinkSlot.h>
#include <sdk/ipc/Receivers.h>
#include <sdk/ipc/ServiceState.h>

#include <atomic>

namespace pelacon {

namespace {

using Slot = os::SinkSlot<PelaconServiceState>;

/// Never destroyed: threads of the library may call the sink until the process ends.
union Storage {
    constexpr Storage() : slot() {}
    ~Storage() {}  // NOLINT(modernize-use-equals-default): that would be deleted
    Slot slot;
};

constinit Storage storage;
constinit std::atomic<ServiceState::Present> present{0};

/// The upper half is the process, the lower half the state.
ServiceState::Present PresentOf(PelaconServiceState state)
{
    return std::uint64_t{os::ForkGeneration()} << 32U | static_cast<std::uint32_t>(state);
}

bool IsThere(PelaconServiceState state)
{
    return state != kPelaconServiceNotFound && state != kPelaconServiceLost;
}

}  // namespace

ServiceState::Present ServiceState::Get() noexcept
{
    const Present seen = present.load();
    return seen >> 32U == os::ForkGeneration() ? seen : PresentOf(kPelaconServiceNotFound);
}

PelaconServiceState ServiceState::Of(Present seen) noexcept
{
    return static_cast<PelaconServiceState>(static_cast<std::uint32_t>(seen));
}

void ServiceState::Change(Present before, PelaconServiceState after) noexcept
{
    Present seen = present.load();
    do {
        if (Get() != before) {
            return;
        }
    } while (!present.compare_exchange_weak(seen, PresentOf(after)));
    const InReceiver inside;
    storage.slot.Deliver(after);
}

void ServiceState::Follow(ipc::ServicePresence::Change change) noexcept
{
    const Present before = Get();
    if (change == ipc::ServicePresence::Change::kFound) {
        Change(before, kPelaconServiceAvailable);
    } else if (IsThere(Of(before))) {
        Change(before, kPelaconServiceLost);
    }
}

void ServiceState::Reset() noexcept
{
    present = PresentOf(kPelaconServiceNotFound);
}

void ServiceState::SetSink(void* context, PelaconServiceSink sink)
{
    if (sink == nullptr) {
        storage.slot.Set({});
    } else {
        storage.slot.Set([context, sink](PelaconServiceState state) { sink(context, state); });
    }
}

}  // namespace pelacon
