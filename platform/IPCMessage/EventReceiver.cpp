#include <IPCMessage/EventReceiver.h>
#include <os/Threads.h>

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace pelacon::ipc {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds kFirstRetry = 50ms;
constexpr std::chrono::milliseconds kLastRetry = 2s;

/// How long a post waits for a connection, where there is none: as good as not at all, but enough
/// for one that is being made.
constexpr std::chrono::milliseconds kPostPatience = 50ms;

struct Attempt {
    ConnectStatus status = ConnectStatus::kNoService;
    std::shared_ptr<Connection> connection;
};

/// Finds no service when there is no memory for one.
Attempt TryToConnect(const PipePlaces& places, Deadline& deadline,
                     const std::atomic<bool>& cancelled) noexcept
{
    try {
        ConnectResult result = Connect(places, deadline, cancelled);
        return {result.status, std::move(result.connection)};
    } catch (const std::exception&) {
        return {};
    }
}

/// The receiver whose thread this is.
thread_local constinit const EventReceiver* ownReceiver = nullptr;

}  // namespace

EventReceiver::EventReceiver(PipePlaces places, const Token& token)
    : places_(std::move(places)), token_(token), retryAfter_(kFirstRetry)
{}

void EventReceiver::Start(const std::shared_ptr<EventReceiver>& receiver)
{
    ServicePresence::BeginToCount();
    {
        Lock lock(receiver->mutex_);
        Deadline now(0ms);
        receiver->Connect(lock, now);
    }
    receiver->ended_ = false;
    os::StartDetachedThread([receiver] { receiver->Run(); });
}

IoStatus EventReceiver::BringUp(Deadline& deadline)
{
    Lock lock(mutex_);
    return BringUp(lock, deadline);
}

IoStatus EventReceiver::BringUp(Lock& lock, Deadline& deadline)
{
    if (!changed_.wait_until(lock, deadline.End(), [this] { return !connecting_ || stopped_; })) {
        deadline.Refresh();
        return IoStatus::kTimeout;
    }
    deadline.Refresh();
    return Connect(lock, deadline);
}

/// Connects if the connection is not up. The lock is released meanwhile; no other thread connects.
IoStatus EventReceiver::Connect(Lock& lock, Deadline& deadline)
{
    if (stopped_ || connection_) {
        return stopped_ ? IoStatus::kLost : IoStatus::kDone;
    }
    connecting_ = true;
    lock.unlock();
    Attempt attempt = TryToConnect(places_, deadline, stopped_);
    lock.lock();
    connecting_ = false;
    const bool up = attempt.connection && !stopped_ && Greet(std::move(attempt.connection));
    changed_.notify_all();
    if (up) {
        return IoStatus::kDone;
    }
    const bool inTime = stopped_ || attempt.status != ConnectStatus::kBusy;
    return inTime ? IoStatus::kLost : IoStatus::kTimeout;
}

bool EventReceiver::Greet(std::shared_ptr<Connection> connection)
{
    const std::uint64_t order = order_.load(std::memory_order_relaxed);
    const FrameHeader header{
        .kind = FrameKind::kHelloEvent,
        .flags = static_cast<std::uint16_t>(kHasPayload | (wasConnected_ ? kReturning : 0)),
        .order = order,
        .reservedC = kReadsJoined};
    if (connection->TrySend(sendBuffer_.Write(header, token_)) != IoStatus::kDone) {
        return false;
    }
    order_.store(order + 1, std::memory_order_release);
    connection_ = std::move(connection);
    presence_.emplace();
    up_.store(true, std::memory_order_release);
    return true;
}

bool EventReceiver::Post(const TagIPCMessageItem& item)
{
    Lock lock(mutex_);
    Deadline deadline(kPostPatience);
    if (BringUp(lock, deadline) != IoStatus::kDone) {
        return false;
    }
    const std::uint64_t order = order_.load(std::memory_order_relaxed);
    const FrameHeader header{.kind = FrameKind::kPost, .order = order};
    if (connection_->TrySend(sendBuffer_.Write(header, item)) != IoStatus::kDone) {
        return false;
    }
    order_.store(order + 1, std::memory_order_release);
    return true;
}

void EventReceiver::Register(std::int32_t messageId, Callback callback)
{
    const Lock lock(mutex_);
    if (stopped_) {
        return;
    }
    auto changed = std::make_shared<Callbacks>(*callbacks_);
    (*changed)[messageId] = std::move(callback);
    callbacks_ = std::move(changed);
    callbacksVersion_.fetch_add(1, std::memory_order_release);
}

void EventReceiver::Stop() noexcept
{
    std::shared_ptr<const Callbacks> forgotten;  // ends with the lock released
    Lock lock(mutex_);
    stopped_ = true;
    up_.store(false, std::memory_order_release);
    forgotten = std::exchange(callbacks_, noCallbacks_);  // throws nothing, also without memory
    if (connection_) {
        connection_->Shutdown();
    }
    changed_.notify_all();
    if (ownReceiver != this) {
        changed_.wait(lock, [this] { return ended_; });
    }
}

void EventReceiver::Run()
{
    ownReceiver = this;
    while (const std::shared_ptr<Connection> connection = NextConnection()) {
        const bool welcomed = ReadUntilLost(*connection);
        if (IsInherited()) {
            return;
        }
        if (Forget() && welcomed) {
            ServicePresence::Report(ServicePresence::Change::kLost);
        }
        if (IsInherited()) {
            return;
        }
    }
    callbacksInUse_.reset();  // what they hold ends before Stop returns
    const Lock lock(mutex_);
    ended_ = true;
    changed_.notify_all();
}

std::shared_ptr<Connection> EventReceiver::NextConnection()
{
    Lock lock(mutex_);
    for (;;) {
        if (changed_.wait_for(lock, retryAfter_, [this] { return stopped_ || connection_; })) {
            return stopped_ ? nullptr : connection_;
        }
        retryAfter_ = std::min(2 * retryAfter_, kLastRetry);
        if (!connecting_) {
            Deadline now(0ms);
            Connect(lock, now);
        }
    }
}

/// Returns whether the connection had been welcomed.
bool EventReceiver::ReadUntilLost(Connection& connection)
{
    bool welcomed = false;
    while (connection.ReceiveSome(batch_) == IoStatus::kDone) {
        for (std::size_t index = 0; index < batch_.count; ++index) {
            if (stopped_ || !Take(batch_.frames[index], batch_.sizes[index], welcomed)) {
                return welcomed;
            }
        }
    }
    return welcomed;
}

/// Takes a received record; false if it is not what may come here.
bool EventReceiver::Take(FrameBuffer& record, std::size_t size, bool& welcomed)
{
    const auto header = record.Read(size);
    if (!welcomed) {
        welcomed = header && header->kind == FrameKind::kWelcome;
        if (welcomed) {
            Welcomed();
        }
        return welcomed;
    }
    if (header) {
        return TakeNotification(record, *header);
    }
    return size <= record.Room().size() && TakeJoined(record.Room().first(size));
}

/// Takes notifications that were joined to a record; an empty one has none and is wrong.
bool EventReceiver::TakeJoined(std::span<const std::uint8_t> record)
{
    do {
        const auto length = LengthOfFirst(record);
        if (!length || stopped_ || IsInherited()) {
            return false;
        }
        std::copy_n(record.begin(), *length, joined_.Room().begin());
        const auto header = joined_.Read(*length);
        if (!header || !TakeNotification(joined_, *header)) {
            return false;
        }
        record = record.subspan(*length);
    } while (!record.empty());
    return true;
}

bool EventReceiver::TakeNotification(FrameBuffer& frame, const FrameHeader& header)
{
    if (header.kind != FrameKind::kNotification) {
        return false;
    }
    Deliver(frame, header);
    return true;
}

void EventReceiver::Welcomed()
{
    connected_.fetch_add(1, std::memory_order_relaxed);
    bool found = false;
    {
        const Lock lock(mutex_);
        found = !std::exchange(wasConnected_, true) && !stopped_;
        retryAfter_ = kFirstRetry;
    }
    if (found) {
        ServicePresence::Report(ServicePresence::Change::kFound);
    }
}

void EventReceiver::Deliver(FrameBuffer& frame, const FrameHeader& header)
{
    if (callbacksVersion_.load(std::memory_order_acquire) != versionInUse_) {
        const Lock lock(mutex_);
        callbacksInUse_ = callbacks_;
        versionInUse_ = callbacksVersion_.load(std::memory_order_relaxed);
    }
    const auto found = callbacksInUse_->find(header.msgId);
    if (found == callbacksInUse_->end() || !found->second) {
        unhandled_.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    try {
        frame.Item(header, item_);
    } catch (const std::bad_alloc&) {  // for a long name
        return;
    }
    found->second(item_);
}

/// Forgets the connection, which is lost. False if the receiver was stopped.
bool EventReceiver::Forget()
{
    const Lock lock(mutex_);
    up_.store(false, std::memory_order_release);
    connection_.reset();
    presence_.reset();
    return !stopped_;
}

}  // namespace pelacon::ipc
