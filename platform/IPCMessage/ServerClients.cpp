#include <IPCMessage/ServerClients.h>

#include <algorithm>
#include <chrono>

namespace pelacon::ipc {

namespace {

/// How long a request waits for its client's earlier posts while the client has no event
/// connection. After that they are taken to be lost with an earlier one.
constexpr std::chrono::milliseconds kLostAfter{250};

}  // namespace

bool ServerClient::Arrive(std::shared_ptr<Outbox> outbox)
{
    std::unique_lock lock(mutex_);
    while (present_ && !stopped_) {
        if (outbox_) {
            outbox_->Shutdown();
        }
        changed_.wait(lock);
    }
    if (stopped_) {
        return false;
    }
    outbox_ = std::move(outbox);
    present_ = true;
    return true;
}

void ServerClient::BeginLeave()
{
    const std::lock_guard lock(mutex_);
    outbox_ = nullptr;
}

void ServerClient::EndLeave()
{
    const std::lock_guard lock(mutex_);
    present_ = false;
    changed_.notify_all();
}

std::shared_ptr<Outbox> ServerClient::GetOutbox() const
{
    const std::lock_guard lock(mutex_);
    return outbox_;
}

void ServerClient::Finish(std::uint64_t order)
{
    const std::lock_guard lock(mutex_);
    finished_.store(std::max(order, finished_.load(std::memory_order_relaxed)),
                    std::memory_order_release);
    changed_.notify_all();
}

bool ServerClient::WaitLong(std::uint64_t order)
{
    std::unique_lock lock(mutex_);
    auto lost = Deadline::Clock::now() + kLostAfter;
    while (!stopped_ && order > finished_.load(std::memory_order_relaxed)) {
        if (present_) {
            changed_.wait(lock);
            lost = Deadline::Clock::now() + kLostAfter;
        } else if (changed_.wait_until(lock, lost) == std::cv_status::timeout) {
            finished_.store(order, std::memory_order_release);
        }
    }
    return !stopped_;
}

void ServerClient::Stop()
{
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    changed_.notify_all();
}

std::shared_ptr<Outbox> ServerClients::FindOutbox(std::uint64_t id) const
{
    std::shared_ptr<ServerClient> client;
    {
        const std::lock_guard lock(mutex_);
        const auto found = byId_.find(id);
        if (found == byId_.end()) {
            return nullptr;
        }
        client = found->second;
    }
    return client->GetOutbox();
}

void ServerClients::Stop()
{
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    for (const auto& [id, client] : byId_) {
        client->Stop();
    }
}

std::shared_ptr<ServerClient> ServerClients::Join(const ClientKey& key)
{
    const std::lock_guard lock(mutex_);
    std::shared_ptr<ServerClient>& client =
        byKey_[key];  // stays null if this throws, until the next call
    if (!client) {
        auto made = std::make_shared<ServerClient>(++lastId_, key);
        byId_.emplace(made->Id(), made);
        client = std::move(made);
        if (stopped_) {
            client->Stop();
        }
    }
    ++client->connections_;
    return client;
}

void ServerClients::Leave(const std::shared_ptr<ServerClient>& client)
{
    const std::lock_guard lock(mutex_);
    if (--client->connections_ == 0) {
        byId_.erase(client->Id());
        byKey_.erase(client->Key());
    }
}

}  // namespace pelacon::ipc
