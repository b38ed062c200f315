#include <tests/platform/IPCMessage/Fixture.h>

#include <exception>

namespace pelacon::test {

void OnThreads(std::size_t count, const std::function<void(std::size_t index)>& action)
{
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::size_t index = 0; index < count; ++index) {
        threads.emplace_back([&action, index] { action(index); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

std::string PeerProcess::ReadLine()
{
    auto line = process_.NextLine(kPatience);
    if (!line) {
        throw std::runtime_error("the peer process writes no line: " + process_.Errors());
    }
    return std::move(*line);
}

Message::Message(const TagIPCMessageItem& from) : item(from), hasPayload(from.message != nullptr)
{
    if (hasPayload) {
        payload.assign(from.message, from.message + from.length);
    }
}

IPCReply Handler::Echo(const TagIPCMessageItem& request)
{
    return {IPCReplyKind::kPayload, Message(request).payload};
}

void Handler::ClientArrived(const IPCClientInfo& client)
{
    if (onArrived) {
        onArrived(client);
    }
    arrived.Put(client);
}

void Handler::ClientLeft(std::uint64_t clientId)
{
    left.Put(clientId);
}

IPCReply Handler::Request(std::uint64_t clientId, const TagIPCMessageItem& request)
{
    return onRequest ? onRequest(clientId, request) : Echo(request);
}

void Handler::Posted(std::uint64_t /*clientId*/, const TagIPCMessageItem& item)
{
    if (onPosted) {
        onPosted(item);
    }
    posted.Put(Message(item));
}

std::string Handler::Control(std::string_view command)
{
    return onControl ? onControl(command) : std::string(command);
}

std::optional<std::string> Handler::ControlOfAnyUser(std::string_view command)
{
    return onControlOfAnyUser ? onControlOfAnyUser(command) : std::nullopt;
}

std::optional<Answer> Request(const IPCMessageClient& client, std::int32_t messageId,
                              const std::optional<ByteVector>& payload, unsigned timeoutMs)
{
    ByteVector bytes = payload.value_or(ByteVector());
    bytes.reserve(1);  // so that a payload of no bytes has an address, too
    TagIPCMessageItem request;
    request.msgId = messageId;
    request.message = payload ? bytes.data() : nullptr;
    request.length = static_cast<std::uint32_t>(bytes.size());
    Answer answer;
    if (!client.SendIPCMessage(request, answer.item, timeoutMs)) {
        return std::nullopt;
    }
    answer.payload.reset(answer.item.message);
    return answer;
}

bool IsServed(const IPCMessageClient& client, unsigned timeoutMs)
{
    const ByteVector payload = Counting(16);
    const auto answer = Request(client, 1, payload, timeoutMs);
    return answer && answer->Bytes() == payload;
}

bool Post(const IPCMessageClient& client, std::int32_t messageId, const ByteVector& payload)
{
    ByteVector bytes = payload;
    TagIPCMessageItem item;
    item.msgId = messageId;
    item.message = bytes.data();
    item.length = static_cast<std::uint32_t>(bytes.size());
    return client.PostIPCMessage(item);
}

}  // namespace pelacon::test
