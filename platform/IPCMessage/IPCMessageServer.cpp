#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/NotificationBatch.h>
#include <IPCMessage/Outbox.h>
#include <IPCMessage/ServerClients.h>
#include <IPCMessage/ServerConnections.h>
#include <IPCMessage/ServerWatchers.h>

#include <algorithm>
#include <chrono>
#include <utility>

using namespace pelacon::ipc;

namespace {

/// How long a connection may be open without a greeting.
constexpr std::chrono::milliseconds kGreetingTimeout{5000};

/// Sent instead of a frame, for fault injection: no frame begins like this.
constexpr std::array<std::uint8_t, 24> kNoFrame{0xDE, 0xAD, 0xBE, 0xEF};

std::shared_ptr<Outbox> OpenOutbox(std::shared_ptr<Connection> connection, ServerCounters& counters,
                                   Outbox::Records records)
{
    auto outbox = std::make_shared<Outbox>(std::move(connection), counters, records);
    outbox->Put({.kind = FrameKind::kWelcome}, {}, Outbox::Urgency::kKept);
    return outbox;
}

}  // namespace

class IPCMessageServer::Implementation {
  public:
    Implementation(const std::wstring& pipeName, IPCServerHandler& handler)
        : handler_(handler),
          connections_(
              Listen(pipeName, WarnHandler()), counters_,
              [this](ServedConnection& served) { Serve(served); }, WarnHandler())
    {}

    ~Implementation() { clients_.Stop(); }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

  private:
    friend class IPCMessageServer;

    using ConnectionPointer = std::shared_ptr<Connection>;

    /// One received frame.
    struct Incoming {
        FrameBuffer buffer;
        FrameHeader header;

        std::span<const std::uint8_t> Payload() const noexcept { return buffer.Payload(header); }

        std::string_view Text() const noexcept
        {
            return {reinterpret_cast<const char*>(Payload().data()), Payload().size()};
        }
    };

    pelacon::ipc::Warn WarnHandler()
    {
        return [this](std::string_view sentence) { handler_.Warn(sentence); };
    }

    /// Runs the action. If it runs out of memory, operators are warned.
    template <typename Action>
    void Attempt(const Action& action)
    {
        try {
            action();
        } catch (const std::bad_alloc&) {
            connections_.ReportNoMemory();
        }
    }

    void Serve(ServedConnection& served);
    void ServeCalls(Connection& connection, Incoming& frame);
    bool Answer(Connection& connection, std::uint64_t clientId, Incoming& frame);
    void ServeEvents(const ConnectionPointer& connection, Incoming& frame);
    void TakePosts(Connection& connection, ServerClient& client, Incoming& frame);
    void ServeOperator(ServedConnection& served, Incoming& frame);
    void ServeAnyUser(ServedConnection& served, Incoming& frame);
    bool Obey(Connection& connection, Incoming& frame);
    bool SendAnswer(Connection& connection, Incoming& frame, const std::string& answer);
    void ServeWatch(const ConnectionPointer& connection, Incoming& frame);

    bool Check(const IoResult& received, Incoming& frame);
    bool Next(Connection& connection, FrameKind wanted, Incoming& frame);
    std::optional<ClientKey> KeyOf(const Connection& connection, const Incoming& hello) const;
    void CountMalformed() { counters_.malformedFrames.fetch_add(1, std::memory_order_relaxed); }

    IPCServerHandler& handler_;
    ServerCounters counters_;
    ServerClients clients_;
    ServerWatchers watchers_;
    ServerConnections connections_;  // last: its threads use the other members
};

/// Serves a connection to its end. Its first frame says what it is for.
void IPCMessageServer::Implementation::Serve(ServedConnection& served)
{
    Incoming frame;
    Deadline deadline(kGreetingTimeout);
    if (!Check(served.connection->Receive(frame.buffer.Room(), deadline), frame)) {
        return;
    }
    switch (frame.header.kind) {
        case FrameKind::kControl:
        case FrameKind::kWatch:
            return ServeOperator(served, frame);
        case FrameKind::kHelloCall:
        case FrameKind::kHelloEvent:
            if (served.place == ConnectionPlace::kCommands) {
                return connections_.Refuse(served, "the places left are for operators' commands");
            }
            return frame.header.kind == FrameKind::kHelloCall
                       ? ServeCalls(*served.connection, frame)
                       : ServeEvents(served.connection, frame);
        default:
            return CountMalformed();
    }
}

void IPCMessageServer::Implementation::ServeCalls(Connection& connection, Incoming& frame)
{
    const auto key = KeyOf(connection, frame);
    if (!key) {
        return CountMalformed();
    }
    const ServerClients::Membership client(clients_, *key);
    ++counters_.callConnections;
    Attempt([&] {
        bool goesOn = true;
        while (goesOn && Next(connection, FrameKind::kRequest, frame)) {
            goesOn = client->WaitFor(frame.header.order) && Answer(connection, client->Id(), frame);
        }
    });
    --counters_.callConnections;
}

/// False if the connection is to be closed.
bool IPCMessageServer::Implementation::Answer(Connection& connection, std::uint64_t clientId,
                                              Incoming& frame)
{
    counters_.requests.fetch_add(1, std::memory_order_relaxed);
    TagIPCMessageItem request;
    frame.buffer.Item(frame.header, request);
    IPCReply reply = handler_.Request(clientId, request);
    if (reply.kind == IPCReplyKind::kPayload && reply.payload.size() > kMaxPayload) {
        reply = {IPCReplyKind::kNoPayload, {}};
    }
    FrameHeader header{.kind = FrameKind::kReply, .sequence = frame.header.sequence};
    header.targetModuleId = request.sourceModuleId;
    header.sourceModuleId = request.targetModuleId;
    header.msgId = request.msgId;
    std::span<const std::uint8_t> bytes;
    switch (reply.kind) {
        case IPCReplyKind::kPayload:
            header.flags = kHasPayload;
            bytes = frame.buffer.Write(header, reply.payload);
            break;
        case IPCReplyKind::kNoPayload:
            bytes = frame.buffer.Write(header);
            break;
        case IPCReplyKind::kNever:
            return true;
        case IPCReplyKind::kDisconnect:
            return false;
        case IPCReplyKind::kMalformed:
            bytes = kNoFrame;
            break;
    }
    if (connection.Send(bytes) != IoStatus::kDone) {
        counters_.repliesToNobody.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    return true;
}

void IPCMessageServer::Implementation::ServeEvents(const ConnectionPointer& connection,
                                                   Incoming& frame)
{
    const auto key = KeyOf(*connection, frame);
    if (!key) {
        return CountMalformed();
    }
    const ServerClients::Membership client(clients_, *key);
    const auto records = frame.header.reservedC == kReadsJoined ? Outbox::Records::kJoined
                                                                : Outbox::Records::kSingle;
    const auto outbox = OpenOutbox(connection, counters_, records);
    if (client->Arrive(outbox)) {
        ++counters_.clients;
        Attempt([&] {
            handler_.ClientArrived({client->Id(), key->processId, frame.header.Has(kReturning)});
            TakePosts(*connection, *client, frame);
        });
        client->BeginLeave();
        --counters_.clients;
        outbox->Close();
        Attempt([&] { handler_.ClientLeft(client->Id()); });
        client->EndLeave();
    }
}

/// Until the connection is lost. `frame` is the greeting that came first.
void IPCMessageServer::Implementation::TakePosts(Connection& connection, ServerClient& client,
                                                 Incoming& frame)
{
    TagIPCMessageItem item;
    std::uint64_t order = frame.header.order + 1;
    client.Finish(order);
    while (Next(connection, FrameKind::kPost, frame)) {
        if (frame.header.order != order) {
            return CountMalformed();
        }
        frame.buffer.Item(frame.header, item);
        handler_.Posted(client.Id(), item);
        client.Finish(++order);
    }
}

void IPCMessageServer::Implementation::ServeOperator(ServedConnection& served, Incoming& frame)
{
    Connection& connection = *served.connection;
    if (!connection.GetPeer().isOperator) {
        return ServeAnyUser(served, frame);
    }
    connections_.SetApart(served);
    if (frame.header.kind == FrameKind::kWatch) {
        return ServeWatch(served.connection, frame);
    }
    while (Obey(connection, frame) && Next(connection, FrameKind::kControl, frame)) {
    }
}

/// Answers one command that every user may send, and refuses all others.
void IPCMessageServer::Implementation::ServeAnyUser(ServedConnection& served, Incoming& frame)
{
    std::optional<std::string> answer;
    if (frame.header.kind == FrameKind::kControl) {
        answer = handler_.ControlOfAnyUser(frame.Text());
    }
    if (answer) {
        SendAnswer(*served.connection, frame, *answer);
        return;
    }
    connections_.Refuse(served, "commands are accepted from the service's own user and root only");
    served.connection->Send(frame.buffer.Write({.kind = FrameKind::kRefused}));
}

/// Executes the frame's command and sends the answer. False if the connection is lost.
bool IPCMessageServer::Implementation::Obey(Connection& connection, Incoming& frame)
{
    return SendAnswer(connection, frame, handler_.Control(frame.Text()));
}

/// Sends the answer to the frame's command, in as many frames as it needs. False if the connection
/// is lost.
bool IPCMessageServer::Implementation::SendAnswer(Connection& connection, Incoming& frame,
                                                  const std::string& answer)
{
    std::span<const std::uint8_t> rest(reinterpret_cast<const std::uint8_t*>(answer.data()),
                                       answer.size());
    FrameHeader header{.kind = FrameKind::kControlReply, .sequence = frame.header.sequence};
    bool more = true;
    while (more) {
        const auto piece = rest.first(std::min(rest.size(), kMaxPayload));
        rest = rest.subspan(piece.size());
        more = !rest.empty();
        header.flags = static_cast<std::uint16_t>(kHasPayload | (more ? kMoreFollows : 0));
        if (connection.Send(frame.buffer.Write(header, piece)) != IoStatus::kDone) {
            return false;
        }
    }
    return true;
}

void IPCMessageServer::Implementation::ServeWatch(const ConnectionPointer& connection,
                                                  Incoming& frame)
{
    const auto outbox = OpenOutbox(connection, watchers_.Counters(), Outbox::Records::kSingle);
    watchers_.Add(outbox);
    if (Check(connection->Receive(frame.buffer.Room()), frame)) {
        CountMalformed();  // a watcher must not send anything else
    }
    watchers_.Remove(outbox);
    outbox->Close();
}

/// Whether a valid frame was received; its header is read then.
bool IPCMessageServer::Implementation::Check(const IoResult& received, Incoming& frame)
{
    if (received.status != IoStatus::kDone) {
        return false;
    }
    const auto header = frame.buffer.Read(received.size);
    if (!header) {
        CountMalformed();
        return false;
    }
    frame.header = *header;
    return true;
}

bool IPCMessageServer::Implementation::Next(Connection& connection, FrameKind wanted,
                                            Incoming& frame)
{
    if (!Check(connection.Receive(frame.buffer.Room()), frame)) {
        return false;
    }
    if (frame.header.kind != wanted) {
        CountMalformed();
        return false;
    }
    return true;
}

/// Nothing if the greeting has no token.
std::optional<ClientKey> IPCMessageServer::Implementation::KeyOf(const Connection& connection,
                                                                 const Incoming& hello) const
{
    ClientKey key{{}, connection.GetPeer().processId, connection.GetPeer().user};
    if (hello.Payload().size() != key.token.size()) {
        return std::nullopt;
    }
    std::copy_n(hello.Payload().begin(), key.token.size(), key.token.begin());
    return key;
}

IPCMessageServer::IPCMessageServer(const std::wstring& pipeName, IPCServerHandler& handler)
    : implementation_(std::make_unique<Implementation>(pipeName, handler))
{}

IPCMessageServer::~IPCMessageServer() = default;

bool IPCMessageServer::Notify(std::uint64_t clientId, std::int32_t messageId,
                              std::span<const std::uint8_t> payload, Urgency urgency)
{
    Implementation& server = *implementation_;
    const std::shared_ptr<Outbox> outbox = server.clients_.FindOutbox(clientId);
    if (!outbox || payload.size() > kMaxPayload) {
        return false;
    }
    const FrameHeader header{
        .kind = FrameKind::kNotification, .flags = kHasPayload, .msgId = messageId};
    const auto when =
        NotificationBatch::Hold(outbox) ? Outbox::When::kWithOthers : Outbox::When::kNow;
    if (!outbox->Put(header, payload, urgency, when)) {
        return false;
    }
    server.counters_.notifications.fetch_add(1, std::memory_order_relaxed);
    server.watchers_.Mirror(header, payload, outbox->PeerProcess());
    return true;
}

bool IPCMessageServer::IsConnected(std::uint64_t clientId) const
{
    const auto outbox = implementation_->clients_.FindOutbox(clientId);
    return outbox && outbox->IsConnected();
}

void IPCMessageServer::Disconnect(std::uint64_t clientId)
{
    if (const auto outbox = implementation_->clients_.FindOutbox(clientId)) {
        outbox->Shutdown();
    }
}

void IPCMessageServer::DisconnectAll()
{
    implementation_->connections_.Shutdown();
}

void IPCMessageServer::SendMalformed(std::uint64_t clientId)
{
    if (const auto outbox = implementation_->clients_.FindOutbox(clientId)) {
        outbox->PutBytes(kNoFrame);
    }
}

IPCMessageServer::Statistics IPCMessageServer::GetStatistics() const
{
    const ServerCounters& counters = implementation_->counters_;
    return {counters.clients,         counters.callConnections, counters.requests,
            counters.repliesToNobody, counters.notifications,   counters.notificationsDropped,
            counters.slowClients,     counters.malformedFrames, counters.refusedPeers};
}

const std::string& IPCMessageServer::Address() const
{
    return implementation_->connections_.GetListener().Address();
}

const std::string& IPCMessageServer::StateFile() const
{
    return implementation_->connections_.GetListener().StateFile();
}
