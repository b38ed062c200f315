// A client program, within the test.
#pragma once

#include <IPCMessage/IPCMessageClient.h>
#include <protocol/Operation.h>
#include <service/core/Router.h>
#include <service/core/Wire.h>
#include <tests/support/Eventually.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace pelacon::service::tests {

using test::kPatience;

/// Speaks the protocol over a real pipe, and keeps every notification of the catalogue until the
/// test asks for it.
class TestClient {
  public:
    explicit TestClient(const std::wstring& pipeName);
    ~TestClient() { Pause(false); }
    TestClient(const TestClient&) = delete;
    TestClient& operator=(const TestClient&) = delete;

    /// Sends a request and decodes the reply; nothing when it is not answered, or without payload.
    /// A request that is text is a std::string_view, one that is bytes a ByteView.
    template <typename Request, typename Reply>
    auto Call(const protocol::Operation<Request, Reply>& operation,
              const typename protocol::Payload<Request>::Owned& request,
              std::chrono::milliseconds timeout = kPatience)
        -> std::optional<typename protocol::Payload<Reply>::Owned>
    {
        return CallWith(operation, protocol::Payload<Request>::View(request), timeout);
    }
    template <typename Reply>
    auto Call(const protocol::Operation<protocol::Nothing, Reply>& operation,
              std::chrono::milliseconds timeout = kPatience)
        -> std::optional<typename protocol::Payload<Reply>::Owned>
    {
        return CallWith(operation, {}, timeout);
    }

    /// Sends any payload; nothing when it is not answered, or without payload.
    std::optional<Bytes> CallRaw(std::int32_t id, ByteView payload,
                                 std::chrono::milliseconds timeout = kPatience);

    template <typename Request>
    bool Post(const protocol::Operation<Request, protocol::Nothing>& operation,
              const Request& request)
    {
        return PostRaw(operation.id, AsBytes(request));
    }
    bool PostRaw(std::int32_t id, ByteView payload);

    /// The next notification of this kind, which is waited for. Throws when none comes.
    template <typename Record>
    Record Next(const protocol::Notification<Record>& notification)
    {
        return ReadPadded<Record>(NextRaw(notification.id));
    }
    void Next(const protocol::Notification<protocol::Nothing>& notification)
    {
        NextRaw(notification.id);
    }
    Bytes NextRaw(std::int32_t id);

    /// Stops reading notifications, or resumes it.
    void Pause(bool pause);

    /// The number of notifications of this kind that have arrived and were not taken.
    std::size_t Waiting(std::int32_t id) const;

  private:
    template <typename Request, typename Reply>
    auto CallWith(const protocol::Operation<Request, Reply>& operation, ByteView payload,
                  std::chrono::milliseconds timeout)
        -> std::optional<typename protocol::Payload<Reply>::Owned>
    {
        const std::optional<Bytes> reply = CallRaw(operation.id, payload, timeout);
        if (!reply) {
            return std::nullopt;
        }
        using Result = typename protocol::Payload<Reply>::Owned;
        if constexpr (std::is_same_v<Result, Bytes>) {
            return reply;
        } else {
            return Result(protocol::Payload<Reply>::Read(*reply));
        }
    }

    mutable std::mutex mutex_;
    std::condition_variable arrived_;
    std::condition_variable resumed_;
    bool paused_ = false;
    std::map<std::int32_t, std::deque<Bytes>> notifications_;
    IPCMessageClient client_;  // last: its thread uses the rest
};

}  // namespace pelacon::service::tests
