#include <protocol/Catalogue.h>
#include <tests/service/TestClient.h>

#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <utility>

namespace pelacon::service::tests {

namespace {

TagIPCMessageItem ItemOf(std::int32_t id, ByteView payload)
{
    TagIPCMessageItem item;
    item.targetModuleId = protocol::kServiceModule;
    item.sourceModuleId = protocol::kSdkModule;
    item.msgId = id;
    item.length = static_cast<std::uint32_t>(payload.size());
    item.message = const_cast<std::uint8_t*>(payload.data());
    return item;
}

}  // namespace

TestClient::TestClient(const std::wstring& pipeName)
    : client_(protocol::kSdkModule, false, false, pipeName)
{
    for (const protocol::CatalogueEntry& entry : protocol::kCatalogue) {
        if (entry.IsSentToService()) {
            continue;
        }
        client_.RegisterMessageCallback(entry.id, [this](TagIPCMessageItem& item) {
            std::unique_lock lock(mutex_);
            resumed_.wait(lock, [this] { return !paused_; });
            notifications_[item.msgId].emplace_back(item.message, item.message + item.length);
            arrived_.notify_all();
        });
    }
}

std::optional<Bytes> TestClient::CallRaw(std::int32_t id, ByteView payload,
                                         std::chrono::milliseconds timeout)
{
    TagIPCMessageItem request = ItemOf(id, payload);
    TagIPCMessageItem reply;
    client_.SendIPCMessage(request, reply, static_cast<unsigned>(timeout.count()));
    const std::unique_ptr<std::uint8_t, decltype(&std::free)> owned(reply.message, &std::free);
    return owned ? std::optional(Bytes(owned.get(), owned.get() + reply.length)) : std::nullopt;
}

bool TestClient::PostRaw(std::int32_t id, ByteView payload)
{
    return client_.PostIPCMessage(ItemOf(id, payload));
}

Bytes TestClient::NextRaw(std::int32_t id)
{
    std::unique_lock lock(mutex_);
    if (!arrived_.wait_for(lock, kPatience, [&] { return !notifications_[id].empty(); })) {
        const protocol::CatalogueEntry* const entry = protocol::FindNotification(id);
        throw std::runtime_error(std::string("no notification ") +
                                 (entry != nullptr ? entry->name : "of this id") + " came");
    }
    Bytes payload = std::move(notifications_[id].front());
    notifications_[id].pop_front();
    return payload;
}

void TestClient::Pause(bool pause)
{
    const std::lock_guard lock(mutex_);
    paused_ = pause;
    resumed_.notify_all();
}

std::size_t TestClient::Waiting(std::int32_t id) const
{
    const std::lock_guard lock(mutex_);
    const auto found = notifications_.find(id);
    return found != notifications_.end() ? found->second.size() : 0;
}

}  // namespace pelacon::service::tests
