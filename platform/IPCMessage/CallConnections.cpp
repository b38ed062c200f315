#include <IPCMessage/CallConnections.h>

#include <array>
#include <utility>

namespace pelacon::ipc {

namespace {

/// The connection that this thread used last. Trivially destructible, so that a thread may end
/// after the library was unloaded.
struct Hint {
    std::uint64_t pool;
    std::size_t index;
};

thread_local constinit Hint lastUsed{0, 0};

std::uint64_t NextPoolId() noexcept
{
    static constinit std::atomic<std::uint64_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

}  // namespace

/// A caller's ownership of a slot. The connection of a call that was not answered is closed: a late
/// reply must not be taken for the answer to the next call.
class CallConnections::Tenure {
  public:
    Tenure(CallConnections& pool, Slot& slot) noexcept : pool_(pool), slot_(slot)
    {
        slot_.status = IoStatus::kLost;
    }

    ~Tenure()
    {
        if (slot_.status != IoStatus::kDone) {
            pool_.Put(slot_, nullptr);
        }
        pool_.Release(slot_);
    }

    Tenure(const Tenure&) = delete;
    Tenure& operator=(const Tenure&) = delete;

  private:
    CallConnections& pool_;
    Slot& slot_;
};

CallConnections::CallConnections(PipePlaces places, const Token& token)
    : id_(NextPoolId()), places_(std::move(places)), token_(token)
{}

IoStatus CallConnections::Call(const TagIPCMessageItem& request, std::uint64_t order,
                               TagIPCMessageItem& reply, Deadline& deadline)
{
    Slot* const slot = Claim(deadline);
    if (slot == nullptr) {
        return stopped_ ? IoStatus::kLost : IoStatus::kTimeout;
    }
    const Tenure tenure(*this, *slot);
    return slot->status = Exchange(*slot, request, order, reply, deadline);
}

void CallConnections::Stop()
{
    stopped_ = true;
    for (Slot& slot : slots_) {
        const std::lock_guard lock(slot.exchange);
        if (slot.connection) {
            slot.connection->Shutdown();
        }
    }
    const std::lock_guard lock(waitMutex_);
    released_.notify_all();
}

CallConnections::Slot* CallConnections::Claim(Deadline& deadline)
{
    if (Slot* const slot = TryClaim()) {
        return slot;
    }
    std::unique_lock lock(waitMutex_);
    ++waiting_;
    Slot* slot = nullptr;
    released_.wait_until(lock, deadline.End(),
                         [&] { return stopped_ || (slot = TryClaim()) != nullptr; });
    --waiting_;
    deadline.Refresh();
    return slot;
}

CallConnections::Slot* CallConnections::TryClaim()
{
    if (lastUsed.pool == id_) {
        if (Slot* const slot = TryClaimFrom(lastUsed.index, State::kIdle)) {
            return slot;
        }
    }
    const std::size_t opened = opened_.load(std::memory_order_acquire);
    for (std::size_t index = 0; index < opened; ++index) {
        if (Slot* const slot = TryClaimFrom(index, State::kIdle)) {
            return slot;
        }
    }
    for (std::size_t index = 0; index < kLimit; ++index) {
        if (Slot* const slot = TryClaimFrom(index, State::kUnused)) {
            std::size_t seen = opened_.load(std::memory_order_relaxed);
            while (seen <= index && !opened_.compare_exchange_weak(seen, index + 1)) {
            }
            return slot;
        }
    }
    return nullptr;
}

CallConnections::Slot* CallConnections::TryClaimFrom(std::size_t index, State wanted) noexcept
{
    Slot& slot = slots_[index];
    if (!slot.state.compare_exchange_strong(wanted, State::kBusy)) {  // see Release for the order
        return nullptr;
    }
    lastUsed = {id_, index};
    return &slot;
}

void CallConnections::Release(Slot& slot)
{
    // Sequentially consistent, like the count of waiting threads: either this thread sees one that
    // waits, or that one sees that the slot is free.
    slot.state = slot.connection ? State::kIdle : State::kUnused;
    if (waiting_ != 0) {
        const std::lock_guard lock(waitMutex_);
        released_.notify_one();
    }
}

IoStatus CallConnections::Exchange(Slot& slot, const TagIPCMessageItem& request,
                                   std::uint64_t order, TagIPCMessageItem& reply,
                                   Deadline& deadline)
{
    if (!slot.buffer) {
        slot.buffer = std::make_unique<FrameBuffer>();
    }
    FrameBuffer& buffer = *slot.buffer;
    const FrameHeader header{
        .kind = FrameKind::kRequest, .sequence = ++slot.sequence, .order = order};
    const IoStatus sent = SendRequest(slot, buffer.Write(header, request), deadline);
    if (sent != IoStatus::kDone) {
        return sent;
    }
    const IoResult received = slot.connection->Receive(buffer.Room(), deadline);
    if (received.status != IoStatus::kDone) {
        return received.status;
    }
    const auto answer = buffer.Read(received.size);
    const bool ours = answer && answer->kind == FrameKind::kReply &&
                      answer->sequence == slot.sequence && buffer.CopyItem(*answer, reply);
    return ours ? IoStatus::kDone : IoStatus::kLost;
}

/// An idle connection may have been closed by a service that has ended since. The request has not
/// been received by any service then, so a new connection is opened for it.
IoStatus CallConnections::SendRequest(Slot& slot, std::span<const std::uint8_t> frame,
                                      Deadline& deadline)
{
    if (slot.connection) {
        const IoStatus status = slot.connection->Send(frame, deadline);
        if (status != IoStatus::kLost) {
            return status;
        }
    }
    const IoStatus opened = Open(slot, deadline);
    return opened == IoStatus::kDone ? slot.connection->Send(frame, deadline) : opened;
}

/// Connects and sends the greeting, which is not answered.
IoStatus CallConnections::Open(Slot& slot, Deadline& deadline)
{
    ConnectResult result = Connect(places_, deadline, stopped_);
    if (result.status != ConnectStatus::kConnected) {
        const bool inTime = stopped_ || result.status != ConnectStatus::kBusy;
        return inTime ? IoStatus::kLost : IoStatus::kTimeout;
    }
    Put(slot, std::move(result.connection));
    if (stopped_) {
        return IoStatus::kLost;
    }
    std::array<std::uint8_t, sizeof(FrameHeader) + sizeof(Token)> room;
    const FrameHeader header{.kind = FrameKind::kHelloCall, .flags = kHasPayload};
    return slot.connection->Send(WriteFrame(room, header, token_), deadline);
}

void CallConnections::Put(Slot& slot, std::unique_ptr<Connection> connection)
{
    const std::lock_guard lock(slot.exchange);
    slot.connection.swap(connection);
}

}  // namespace pelacon::ipc
