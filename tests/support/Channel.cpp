#include <os/Processes.h>
#include <tests/support/Channel.h>
#include <tests/support/Journal.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <ostream>
#include <system_error>
#include <utility>

namespace pelacon::test {

namespace {

struct Freed {
    void operator()(void* memory) const { std::free(memory); }
};

/// A copy of exactly this size, so that AddressSanitizer reports a read beyond it.
std::unique_ptr<std::uint8_t, Freed> ExactCopy(const ByteVector& bytes)
{
    std::unique_ptr<std::uint8_t, Freed> copy(
        static_cast<std::uint8_t*>(std::malloc(std::max<std::size_t>(bytes.size(), 1))));
    if (!copy) {
        throw std::bad_alloc();
    }
    std::copy(bytes.begin(), bytes.end(), copy.get());
    return copy;
}

Sent Recorded(const TagIPCMessageItem& item)
{
    Sent sent;
    sent.item = item;
    if (item.message != nullptr) {
        sent.payload.assign(item.message, item.message + item.length);
    }
    return sent;
}

bool IsInitial(const TagIPCMessageItem& item)
{
    return item.name.empty() && item.targetModuleId == -1 && item.sourceModuleId == -1 &&
           item.msgId == -1 && item.reservedA == -1 && item.reservedB == -1 &&
           item.reservedC == 0 && item.length == 0 && item.message == nullptr && !item.flag &&
           item.processId == 0;
}

/// Reports the differences from the record of a message of that id to the service.
bool IsToService(const TagIPCMessageItem& item, std::int32_t messageId, std::uint32_t processId,
                 ::testing::MatchResultListener& listener)
{
    bool good = true;
    const auto check = [&](const char* field, std::int64_t is, std::int64_t shouldBe) {
        if (is != shouldBe) {
            listener << field << " is " << is << ", not " << shouldBe << "; ";
            good = false;
        }
    };
    check("msgId", item.msgId, messageId);
    check("targetModuleId", item.targetModuleId, 0xD70000);
    check("sourceModuleId", item.sourceModuleId, 0xD80000);
    check("reservedA", item.reservedA, -1);
    check("reservedB", item.reservedB, -1);
    check("reservedC", item.reservedC, 0);
    check("flag", item.flag ? 1 : 0, 0);
    check("processId", item.processId, processId);
    check("size of name", static_cast<std::int64_t>(item.name.size()), 0);
    return good;
}

bool IsPayload(const Sent& sent, const ByteVector& payload,
               ::testing::MatchResultListener& listener)
{
    if (sent.item.length != payload.size()) {
        listener << "length is " << sent.item.length << ", not " << payload.size() << "; ";
        return false;
    }
    const auto [is, shouldBe] =
        std::mismatch(sent.payload.begin(), sent.payload.end(), payload.begin(), payload.end());
    if (is == sent.payload.end() && shouldBe == payload.end()) {
        return true;
    }
    listener << "payload differs from byte " << is - sent.payload.begin() << " on; ";
    return false;
}

class SentMatcher {
  public:
    using is_gtest_matcher = void;

    SentMatcher(const char* kind, std::int32_t messageId, ByteVector payload,
                std::uint32_t processId, unsigned timeoutMs)
        : kind_(kind),
          messageId_(messageId),
          payload_(std::move(payload)),
          processId_(processId),
          timeoutMs_(timeoutMs)
    {}

    bool MatchAndExplain(const Sent& sent, ::testing::MatchResultListener* listener) const
    {
        bool good = IsToService(sent.item, messageId_, processId_, *listener);
        good = IsPayload(sent, payload_, *listener) && good;
        if (sent.timeoutMs != timeoutMs_) {
            *listener << "time-out is " << sent.timeoutMs << " ms; ";
            good = false;
        }
        if (!IsInitial(sent.replyItem)) {
            *listener << "the reply record is not unused; ";
            good = false;
        }
        return good;
    }

    void DescribeTo(std::ostream* out) const
    {
        *out << "is " << kind_ << ' ' << Hex(messageId_) << " with payload "
             << ::testing::PrintToString(payload_) << ", time-out " << timeoutMs_ << " ms";
    }
    void DescribeNegationTo(std::ostream* out) const
    {
        *out << "not: ";
        DescribeTo(out);
    }

  private:
    const char* kind_;
    std::int32_t messageId_;
    ByteVector payload_;
    std::uint32_t processId_;
    unsigned timeoutMs_;
};

}  // namespace

void PrintTo(const Sent& sent, std::ostream* out)
{
    *out << Hex(sent.item.msgId) << " with payload " << ::testing::PrintToString(sent.payload)
         << ", time-out " << sent.timeoutMs << " ms";
}

::testing::Matcher<const Sent&> RequestIs(std::int32_t messageId, const ByteVector& payload,
                                          unsigned timeoutMs)
{
    return SentMatcher("request", messageId, payload, os::CurrentProcessId(), timeoutMs);
}

::testing::Matcher<const Sent&> PostIs(std::int32_t messageId, const ByteVector& payload)
{
    return SentMatcher("post", messageId, payload, 0, 0);
}

Channel& Channel::Get()
{
    static Channel& channel = *new Channel;
    return channel;
}

void Channel::Reply(std::int32_t messageId, const ByteVector& payload)
{
    const std::lock_guard lock(mutex_);
    state_.replies[messageId] = payload;
}

void Channel::ReplyNothing(std::int32_t messageId)
{
    const std::lock_guard lock(mutex_);
    state_.replies.erase(messageId);
}

void Channel::FillLengths(bool fill)
{
    const std::lock_guard lock(mutex_);
    state_.fillLengths = fill;
}

void Channel::OnRequest(std::int32_t messageId, Hook hook)
{
    const std::lock_guard lock(mutex_);
    state_.requestHooks[messageId] = std::move(hook);
}

void Channel::OnPost(Hook hook)
{
    const std::lock_guard lock(mutex_);
    state_.postHook = std::move(hook);
}

void Channel::OnUnregister(std::function<void()> hook)
{
    const std::lock_guard lock(mutex_);
    state_.unregisterHook = std::move(hook);
}

void Channel::OnConstruct(std::function<void()> hook)
{
    const std::lock_guard lock(mutex_);
    state_.constructHook = std::move(hook);
}

void Channel::FailNextConstruction()
{
    const std::lock_guard lock(mutex_);
    state_.failConstruction = true;
}

void Channel::FailNextRegistration()
{
    const std::lock_guard lock(mutex_);
    state_.failRegistration = true;
}

void Channel::Deliver(std::int32_t messageId, const ByteVector& payload)
{
    const auto copy = ExactCopy(payload);
    TagIPCMessageItem item;
    item.msgId = messageId;
    item.length = static_cast<std::uint32_t>(payload.size());
    item.message = copy.get();
    DeliverItem(item);
}

void Channel::DeliverWithoutPayload(std::int32_t messageId)
{
    TagIPCMessageItem item;
    item.msgId = messageId;
    DeliverItem(item);
}

void Channel::DeliverItem(TagIPCMessageItem& item)
{
    item.targetModuleId = 0xD80000;
    item.sourceModuleId = 0xD70000;
    IPCMessageClient::MessageCallback callback;
    {
        const std::lock_guard lock(mutex_);
        const auto found =
            std::find_if(registrations_.rbegin(), registrations_.rend(),
                         [&](const Registration& one) { return one.messageId == item.msgId; });
        if (open_ && found != registrations_.rend()) {
            callback = found->callback;
        }
    }
    if (!callback) {
        ADD_FAILURE() << "no callback is registered for " << Hex(item.msgId);
        return;
    }
    callback(item);
}

std::vector<Channel::Construction> Channel::Constructions() const
{
    const std::lock_guard lock(mutex_);
    return state_.constructions;
}

std::vector<Channel::Registration> Channel::Registrations() const
{
    const std::lock_guard lock(mutex_);
    return registrations_;
}

std::vector<Sent> Channel::Requests() const
{
    const std::lock_guard lock(mutex_);
    return state_.requests;
}

std::vector<Sent> Channel::Posts() const
{
    const std::lock_guard lock(mutex_);
    return state_.posts;
}

Sent Channel::OnlyRequest() const
{
    const std::vector<Sent> requests = Requests();
    if (requests.size() != 1) {
        ADD_FAILURE() << requests.size() << " requests were sent, not one";
        return {};
    }
    return requests.front();
}

int Channel::Unregistrations() const
{
    const std::lock_guard lock(mutex_);
    return state_.unregistrations;
}

int Channel::Destructions() const
{
    const std::lock_guard lock(mutex_);
    return state_.destructions;
}

void Channel::ForgetSent()
{
    const std::lock_guard lock(mutex_);
    state_.requests.clear();
    state_.posts.clear();
}

void Channel::Reset()
{
    const std::lock_guard lock(mutex_);
    state_ = {};
    if (!open_) {
        registrations_.clear();
    }
}

}  // namespace pelacon::test

using pelacon::test::Channel;
using pelacon::test::Journal;

class IPCMessageClient::Implementation {};

IPCMessageClient::IPCMessageClient(int moduleId, bool reserved1, bool reserved2,
                                   const std::wstring& pipeName)
    : implementation_(std::make_shared<Implementation>())
{
    Channel& channel = Channel::Get();
    std::function<void()> hook;
    {
        const std::lock_guard lock(channel.mutex_);
        if (std::exchange(channel.state_.failConstruction, false)) {
            throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again),
                                    "no thread");
        }
        channel.state_.constructions.push_back({moduleId, reserved1, reserved2, pipeName});
        channel.registrations_.clear();
        channel.open_ = true;
        hook = channel.state_.constructHook;
        Journal::Note("construct");
    }
    if (hook) {
        hook();
    }
}

IPCMessageClient::~IPCMessageClient()
{
    Channel& channel = Channel::Get();
    const std::lock_guard lock(channel.mutex_);
    ++channel.state_.destructions;
    channel.open_ = false;
    Journal::Note("destroy");
}

void IPCMessageClient::RegisterMessageCallback(int messageId, MessageCallback callback)
{
    Channel& channel = Channel::Get();
    const std::lock_guard lock(channel.mutex_);
    if (std::exchange(channel.state_.failRegistration, false)) {
        throw std::bad_alloc();
    }
    channel.registrations_.push_back({messageId, std::move(callback)});
    Journal::Note("register " + pelacon::test::Hex(messageId));
}

bool IPCMessageClient::UnRegisterMessageCallbackAll()
{
    Channel& channel = Channel::Get();
    std::function<void()> hook;
    {
        const std::lock_guard lock(channel.mutex_);
        ++channel.state_.unregistrations;
        channel.open_ = false;
        hook = channel.state_.unregisterHook;
        Journal::Note("unregister all");
    }
    if (hook) {
        hook();
    }
    return true;
}

bool IPCMessageClient::SendIPCMessage(TagIPCMessageItem& request, TagIPCMessageItem& reply,
                                      unsigned timeoutMs) const
{
    Channel& channel = Channel::Get();
    pelacon::test::Sent sent = pelacon::test::Recorded(request);
    sent.timeoutMs = timeoutMs;
    sent.replyItem = reply;
    Channel::Hook hook;
    {
        const std::lock_guard lock(channel.mutex_);
        channel.state_.requests.push_back(sent);
        const auto found = channel.state_.requestHooks.find(request.msgId);
        hook = found != channel.state_.requestHooks.end() ? found->second : nullptr;
        Journal::Note("request " + pelacon::test::Hex(request.msgId));
    }
    if (hook) {
        hook(sent);
    }
    const std::lock_guard lock(channel.mutex_);
    const auto scripted = channel.state_.replies.find(request.msgId);
    if (!channel.open_ || scripted == channel.state_.replies.end()) {
        return false;
    }
    reply.msgId = request.msgId;
    reply.message = pelacon::test::ExactCopy(scripted->second).release();
    if (channel.state_.fillLengths) {
        reply.length = static_cast<std::uint32_t>(scripted->second.size());
    }
    return true;
}

bool IPCMessageClient::PostIPCMessage(const TagIPCMessageItem& item) const
{
    Channel& channel = Channel::Get();
    const pelacon::test::Sent sent = pelacon::test::Recorded(item);
    Channel::Hook hook;
    {
        const std::lock_guard lock(channel.mutex_);
        channel.state_.posts.push_back(sent);
        hook = channel.state_.postHook;
        Journal::Note("post " + pelacon::test::Hex(item.msgId));
    }
    if (hook) {
        hook(sent);
    }
    return true;
}

IPCMessageClient::Statistics IPCMessageClient::GetStatistics() const
{
    return {};
}
