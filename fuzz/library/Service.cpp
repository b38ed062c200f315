#include <IPCMessage/Frame.h>
#include <IPCMessage/IPCMessageClient.h>

#include <fuzz/library/Service.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <utility>

namespace pelacon::fuzz {

namespace {

using Receivers = std::map<std::int32_t, IPCMessageClient::MessageCallback>;

Receivers& AllReceivers()
{
    static Receivers& receivers = *new Receivers;
    return receivers;
}

std::optional<std::vector<std::uint8_t>>& Answer()
{
    static auto& answer = *new std::optional<std::vector<std::uint8_t>>;
    return answer;
}

/// The payload, followed by zeros.
std::uint8_t* Padded(const std::vector<std::uint8_t>& payload, std::size_t room)
{
    auto* const bytes = static_cast<std::uint8_t*>(std::calloc(room, 1));
    std::copy(payload.begin(), payload.end(), bytes);
    return bytes;
}

}  // namespace

void AnswerWith(std::vector<std::uint8_t> payload)
{
    payload.resize(std::min(payload.size(), ipc::kMaxPayload));
    Answer() = std::move(payload);
}

void AnswerWithNothing()
{
    Answer().reset();
}

void Deliver(std::int32_t messageId, const std::vector<std::uint8_t>& payload)
{
    const auto found = AllReceivers().find(messageId);
    if (found == AllReceivers().end()) {
        return;
    }
    const std::size_t length = std::min(payload.size(), ipc::kMaxPayload);
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> bytes(
        Padded({payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(length)},
               std::max(length + 1, ipc::kPayloadRoom)),
        &std::free);
    TagIPCMessageItem item;
    item.targetModuleId = 0xD80000;
    item.sourceModuleId = 0xD70000;
    item.msgId = messageId;
    item.length = static_cast<std::uint32_t>(length);
    item.message = bytes.get();
    found->second(item);
}

}  // namespace pelacon::fuzz

class IPCMessageClient::Implementation {};

IPCMessageClient::IPCMessageClient(int /*moduleId*/, bool /*reserved1*/, bool /*reserved2*/,
                                   const std::wstring& /*pipeName*/)
{}

IPCMessageClient::~IPCMessageClient() = default;

void IPCMessageClient::RegisterMessageCallback(int messageId, MessageCallback callback)
{
    pelacon::fuzz::AllReceivers()[messageId] = std::move(callback);
}

bool IPCMessageClient::UnRegisterMessageCallbackAll()
{
    pelacon::fuzz::AllReceivers().clear();
    return true;
}

bool IPCMessageClient::SendIPCMessage(TagIPCMessageItem& request, TagIPCMessageItem& reply,
                                      unsigned /*timeoutMs*/) const
{
    reply.msgId = request.msgId;
    if (const auto& answer = pelacon::fuzz::Answer()) {
        reply.length = static_cast<std::uint32_t>(answer->size());
        reply.message = pelacon::fuzz::Padded(*answer, pelacon::ipc::ReplyRoom(answer->size()));
    }
    return true;
}

bool IPCMessageClient::PostIPCMessage(const TagIPCMessageItem& /*item*/) const
{
    return true;
}

IPCMessageClient::Statistics IPCMessageClient::GetStatistics() const
{
    return {};
}
