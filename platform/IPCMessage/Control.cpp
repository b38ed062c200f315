#include <IPCMessage/IPCControl.h>
#include <IPCMessage/Transport.h>
#include <os/Identity.h>

#include <utility>

using namespace pelacon::ipc;

namespace {

/// An operator's connection. Its functions fill the error when they fail.
class OperatorConnection {
  public:
    explicit OperatorConnection(IPCControlError& error) : error_(error) {}

    bool Open(const std::wstring& pipeName, Deadline& deadline)
    {
        ConnectResult result = Connect(FindPipePlaces(pipeName), deadline, neverCancelled_);
        connection_ = std::move(result.connection);
        switch (result.status) {
            case ConnectStatus::kConnected:
                return true;
            case ConnectStatus::kNoService:
                return Fail(IPCControlError::Kind::kNoService, "the service is not running");
            case ConnectStatus::kBusy:
                return FailByTimeout();
            case ConnectStatus::kUntrusted:
                return Fail(IPCControlError::Kind::kNoAccess,
                            "process " + std::to_string(result.peer.processId) + " listens at " +
                                result.place + " as " + pelacon::os::NameOfUser(result.peer.user) +
                                ", a user whose service is not trusted");
            case ConnectStatus::kForbidden:
                return Fail(IPCControlError::Kind::kNoAccess, "this user may not connect to " +
                                                                  result.place + ": " +
                                                                  result.reason.message());
        }
        return false;
    }

    bool Send(FrameKind kind, std::string_view text, Deadline& deadline)
    {
        if (text.size() > kMaxPayload) {
            return Fail(IPCControlError::Kind::kRefused, "the command is too long");
        }
        const std::span<const std::uint8_t> payload(
            reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        const FrameHeader header{.kind = kind, .flags = kHasPayload, .sequence = kSequence};
        return Check(connection_->Send(buffer_.Write(header, payload), deadline));
    }

    /// Receives a frame of the wanted kind, in answer to the one sent.
    bool Receive(FrameKind wanted, Deadline& deadline)
    {
        const IoResult received = connection_->Receive(buffer_.Room(), deadline);
        if (received.status != IoStatus::kDone) {
            timedOut_ = received.status == IoStatus::kTimeout;
            return Check(received.status);
        }
        const auto header = buffer_.Read(received.size);
        if (header && header->kind == FrameKind::kRefused) {
            return Fail(IPCControlError::Kind::kRefused,
                        "the service takes commands from its own user and root only");
        }
        if (!header || header->kind != wanted) {
            return Fail(IPCControlError::Kind::kLost, "the service answered with something else");
        }
        header_ = *header;
        return true;
    }

    bool TimedOut() const noexcept { return timedOut_; }
    const FrameHeader& Header() const noexcept { return header_; }
    void Item(TagIPCMessageItem& item) { buffer_.Item(header_, item); }

    std::string_view Text() const noexcept
    {
        const std::span<const std::uint8_t> text = buffer_.Payload(header_);
        return {reinterpret_cast<const char*>(text.data()), text.size()};
    }

  private:
    static constexpr std::uint64_t kSequence = 1;

    bool Check(IoStatus status)
    {
        if (status == IoStatus::kTimeout) {
            return FailByTimeout();
        }
        return status == IoStatus::kDone ||
               Fail(IPCControlError::Kind::kLost, "the service has gone away");
    }

    bool FailByTimeout()
    {
        return Fail(IPCControlError::Kind::kTimeout, "the service did not answer in time");
    }

    bool Fail(IPCControlError::Kind kind, std::string message)
    {
        error_ = {kind, std::move(message)};
        return false;
    }

    const std::atomic<bool> neverCancelled_{false};
    IPCControlError& error_;
    std::unique_ptr<Connection> connection_;
    FrameBuffer buffer_;
    FrameHeader header_;
    bool timedOut_ = false;
};

/// Whether what listens at the place answers anything.
IPCPlace::State Ping(Connection& connection, Deadline& deadline)
{
    constexpr std::string_view kPing = "ping";
    const FrameHeader header{.kind = FrameKind::kControl, .flags = kHasPayload, .sequence = 1};
    FrameBuffer buffer;
    IoStatus status = connection.Send(
        buffer.Write(header, {reinterpret_cast<const std::uint8_t*>(kPing.data()), kPing.size()}),
        deadline);
    if (status == IoStatus::kDone) {
        status = connection.Receive(buffer.Room(), deadline).status;
    }
    return status == IoStatus::kDone      ? IPCPlace::State::kServed
           : status == IoStatus::kTimeout ? IPCPlace::State::kSilent
                                          : IPCPlace::State::kTurnedAway;
}

IPCPlace::State StateOf(const ConnectResult& result, Deadline& deadline)
{
    using State = IPCPlace::State;
    switch (result.status) {
        case ConnectStatus::kConnected:
            return Ping(*result.connection, deadline);
        case ConnectStatus::kBusy:
            return State::kSilent;
        case ConnectStatus::kUntrusted:
            return State::kUntrusted;
        case ConnectStatus::kForbidden:
            return State::kForbidden;
        case ConnectStatus::kNoService:
            break;
    }
    return State::kNoService;
}

}  // namespace

std::vector<IPCPlace> IPCExaminePlaces(const std::wstring& pipeName,
                                       std::chrono::milliseconds patience)
{
    const std::atomic<bool> neverCancelled{false};
    std::vector<IPCPlace> places;
    for (const std::string& path : FindPipePlaces(pipeName)) {
        Deadline deadline(patience);
        const ConnectResult result = ConnectTo(path, deadline, neverCancelled);
        places.push_back({path, StateOf(result, deadline),
                          result.reason ? result.reason.message() : std::string(),
                          result.peer.processId, result.peer.user});
    }
    return places;
}

std::optional<std::string> IPCSendControl(const std::wstring& pipeName, std::string_view command,
                                          std::chrono::milliseconds timeout, IPCControlError& error)
{
    Deadline deadline(timeout);
    OperatorConnection service(error);
    if (!service.Open(pipeName, deadline) ||
        !service.Send(FrameKind::kControl, command, deadline)) {
        return std::nullopt;
    }
    std::string answer;
    do {
        if (!service.Receive(FrameKind::kControlReply, deadline)) {
            return std::nullopt;
        }
        answer += service.Text();
    } while (service.Header().Has(kMoreFollows));
    return answer;
}

bool IPCWatchNotifications(const std::wstring& pipeName, std::chrono::milliseconds idle,
                           const std::function<bool(const TagIPCMessageItem* item)>& visitor,
                           IPCControlError& error)
{
    constexpr std::chrono::milliseconds kGreetingTimeout{5000};
    Deadline greeting(kGreetingTimeout);
    OperatorConnection service(error);
    if (!service.Open(pipeName, greeting) || !service.Send(FrameKind::kWatch, {}, greeting) ||
        !service.Receive(FrameKind::kWelcome, greeting)) {
        return false;
    }
    TagIPCMessageItem item;
    for (;;) {
        Deadline deadline(idle);
        if (service.Receive(FrameKind::kNotification, deadline)) {
            service.Item(item);
            if (!visitor(&item)) {
                return true;
            }
        } else if (!service.TimedOut()) {
            return false;
        } else if (!visitor(nullptr)) {
            return true;
        }
    }
}
