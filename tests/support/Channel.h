// The stand-in for the message client: IPCMessageClient, implemented by this class.
#pragma once

#include <IPCMessage/IPCMessageClient.h>
#include <tests/support/Bytes.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace pelacon::test {

/// A request or a posted message, as the library gave it to the client.
struct Sent {
    TagIPCMessageItem item;       ///< its `message` was valid during the call only
    ByteVector payload;           ///< what stood there
    unsigned timeoutMs = 0;       ///< of a request
    TagIPCMessageItem replyItem;  ///< of a request: the reply record before it is filled
};
void PrintTo(const Sent& sent, std::ostream* out);

/// Records what is sent to the service and decides what is answered. A request without a scripted
/// answer receives no payload, as if the service did not answer. All members may be used on any
/// thread; hooks run without a lock held.
class Channel {
  public:
    struct Construction {
        int moduleId;
        bool reserved1;
        bool reserved2;
        std::wstring pipeName;
    };
    struct Registration {
        int messageId;
        IPCMessageClient::MessageCallback callback;
    };
    using Hook = std::function<void(const Sent& sent)>;

    static Channel& Get();

    // Answers.

    /// Answers every request of that id with this payload from now on. The payload is allocated
    /// exactly as long as given, so a decoder that reads past it is caught by AddressSanitizer.
    void Reply(std::int32_t messageId, const ByteVector& payload);
    /// Removes the scripted answer.
    void ReplyNothing(std::int32_t messageId);
    /// Whether replies contain their length. By default they do not: records are decoded by their
    /// layout.
    void FillLengths(bool fill);
    /// Runs inside each request of that id, before it is answered; it may script the answer, check
    /// what the library did so far, or block.
    void OnRequest(std::int32_t messageId, Hook hook);
    void OnPost(Hook hook);
    /// Runs inside UnRegisterMessageCallbackAll, after the callbacks were removed.
    void OnUnregister(std::function<void()> hook);
    /// Runs inside the construction of a client.
    void OnConstruct(std::function<void()> hook);
    /// The construction of the next client throws std::system_error.
    void FailNextConstruction();
    /// The next registration throws std::bad_alloc.
    void FailNextRegistration();

    /// Delivers a notification on the calling thread, through the callback registered for its id.
    /// The payload is allocated exactly as long as given.
    void Deliver(std::int32_t messageId, const ByteVector& payload);
    void DeliverWithoutPayload(std::int32_t messageId);

    // Records.

    std::vector<Construction> Constructions() const;
    std::vector<Registration> Registrations()
        const;  ///< of the present or, without one, the last client
    std::vector<Sent> Requests() const;
    std::vector<Sent> Posts() const;
    /// The one request that was sent; fails the test when there were none or more.
    Sent OnlyRequest() const;
    int Unregistrations() const;
    int Destructions() const;

    /// Removes the records.
    void ForgetSent();
    /// Restores the state at the start of the process, except that an existing client keeps its
    /// callbacks.
    void Reset();

  private:
    friend class ::IPCMessageClient;
    struct State {
        bool fillLengths = false;
        bool failConstruction = false;
        bool failRegistration = false;
        std::map<std::int32_t, ByteVector> replies;
        std::map<std::int32_t, Hook> requestHooks;
        Hook postHook;
        std::function<void()> unregisterHook;
        std::function<void()> constructHook;
        std::vector<Construction> constructions;
        std::vector<Sent> requests;
        std::vector<Sent> posts;
        int unregistrations = 0;
        int destructions = 0;
    };

    void DeliverItem(TagIPCMessageItem& item);

    mutable std::mutex mutex_;
    State state_;
    std::vector<Registration> registrations_;
    bool open_ = false;
};

/// Matches a request with this id, payload and time-out. Its record must have the service as its
/// target and this process as its source, all other fields their initial values, and the reply
/// record must be unused.
::testing::Matcher<const Sent&> RequestIs(std::int32_t messageId, const ByteVector& payload,
                                          unsigned timeoutMs);

/// Matches a posted message with this id and payload and such a record, but a process id of 0.
::testing::Matcher<const Sent&> PostIs(std::int32_t messageId, const ByteVector& payload);

}  // namespace pelacon::test
