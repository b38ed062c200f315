#include <IPCMessage/CallConnections.h>
#include <IPCMessage/EventReceiver.h>
#include <IPCMessage/IPCMessageClient.h>
#include <os/Fork.h>

#include <exception>
#include <utility>

using pelacon::ipc::CallConnections;
using pelacon::ipc::Deadline;
using pelacon::ipc::EventReceiver;
using pelacon::ipc::IoStatus;

class IPCMessageClient::Implementation {
  public:
    explicit Implementation(const std::wstring& pipeName)
        : Implementation(pelacon::ipc::FindPipePlaces(pipeName), pelacon::ipc::DrawToken())
    {}

    /// Whether this process is a child that fork made of the client's. Threads and locks are the
    /// parent's then, and nothing here can be used.
    bool IsInherited() const noexcept { return pelacon::os::ForkGeneration() != generation_; }

    IoStatus Call(const TagIPCMessageItem& request, TagIPCMessageItem& reply,
                  std::chrono::milliseconds timeout)
    {
        Deadline deadline(timeout);
        const IoStatus link = events_->EnsureUp(deadline);
        return link == IoStatus::kDone ? calls_.Call(request, events_->Order(), reply, deadline)
                                       : link;
    }

    void Stop()
    {
        calls_.Stop();
        events_->Stop();
    }

    /// Never to be destroyed.
    void Keep(std::shared_ptr<Implementation> self) noexcept { self_ = std::move(self); }

    EventReceiver& Events() const noexcept { return *events_; }

    std::atomic<std::uint64_t> timedOut{0};

  private:
    Implementation(const pelacon::ipc::PipePlaces& places, const pelacon::ipc::Token& token)
        : events_(std::make_shared<EventReceiver>(places, token)), calls_(places, token)
    {
        EventReceiver::Start(events_);
    }

    const std::uint32_t generation_ = pelacon::os::ForkGeneration();
    std::shared_ptr<EventReceiver> events_;  // its thread holds it, too
    std::shared_ptr<Implementation> self_;
    CallConnections calls_;
};

IPCMessageClient::IPCMessageClient(int, bool, bool, const std::wstring& pipeName)
    : implementation_(std::make_shared<Implementation>(pipeName))
{}

IPCMessageClient::~IPCMessageClient()
{
    if (implementation_->IsInherited()) {
        // Its locks may be held, and waited for, by threads that exist in the parent only: left as
        // it is.
        implementation_->Keep(implementation_);
        return;
    }
    implementation_->Stop();
}

void IPCMessageClient::RegisterMessageCallback(int messageId, MessageCallback callback)
{
    if (!implementation_->IsInherited()) {
        implementation_->Events().Register(messageId, std::move(callback));
    }
}

bool IPCMessageClient::UnRegisterMessageCallbackAll()
{
    if (!implementation_->IsInherited()) {
        implementation_->Stop();
    }
    return true;
}

bool IPCMessageClient::SendIPCMessage(TagIPCMessageItem& request, TagIPCMessageItem& reply,
                                      unsigned timeoutMs) const
{
    if (implementation_->IsInherited() || !pelacon::ipc::FitsFrame(request)) {
        return false;
    }
    try {
        const IoStatus status =
            implementation_->Call(request, reply, std::chrono::milliseconds(timeoutMs));
        if (status == IoStatus::kTimeout) {
            implementation_->timedOut.fetch_add(1, std::memory_order_relaxed);
        }
        return status == IoStatus::kDone;
    } catch (const std::exception&) {  // no memory
        return false;
    }
}

bool IPCMessageClient::PostIPCMessage(const TagIPCMessageItem& item) const
{
    if (implementation_->IsInherited() || !pelacon::ipc::FitsFrame(item)) {
        return false;
    }
    try {
        return implementation_->Events().Post(item);
    } catch (const std::exception&) {  // no memory
        return false;
    }
}

IPCMessageClient::Statistics IPCMessageClient::GetStatistics() const
{
    return {implementation_->timedOut.load(std::memory_order_relaxed),
            implementation_->Events().Connected(), implementation_->Events().Unhandled()};
}
