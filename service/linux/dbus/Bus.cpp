#include <service/linux/dbus/Bus.h>
#include <service/linux/dbus/Message.h>
#include <service/linux/dbus/Names.h>

#include <systemd/sd-bus.h>

#include <exception>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::dbus {

/// What a slot of sd-bus points at. Exactly one of the callbacks is set.
struct Bus::Slot::State {
    explicit State(Loop& itsLoop) : loop(itsLoop) {}
    ~State() { sd_bus_slot_unref(slot); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    Loop& loop;
    sd_bus_slot* slot = nullptr;
    OnReply done;
    Loop::Timer failing;  // a call that could not be sent
    OnSignal heard;
    OnCall called;
};

namespace {

std::string TextOf(const char* text)
{
    return text != nullptr ? text : "";
}

const char* OrNothing(const std::string& text)
{
    return text.empty() ? nullptr : text.c_str();
}

/// Releases a message.
struct MessageEnd {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using OwnMessage = std::unique_ptr<sd_bus_message, MessageEnd>;

Reply ReplyOf(sd_bus_message* message)
{
    Reply reply;
    if (const sd_bus_error* const error = sd_bus_message_get_error(message)) {
        reply.error = Error{TextOf(error->name), TextOf(error->message)};
    } else {
        reply.arguments = Read(message);
    }
    return reply;
}

/// What answers a call that could not be sent.
Reply ReplyOf(const std::system_error& failure)
{
    sd_bus_error error{};
    sd_bus_error_set_errno(&error, failure.code().value());
    Reply reply;
    reply.error = Error{TextOf(error.name), failure.what()};
    sd_bus_error_free(&error);
    return reply;
}

std::string RuleOf(const SignalFilter& filter)
{
    std::string rule = "type='signal'";
    const auto add = [&rule](const char* key, const std::string& value) {
        if (!value.empty()) {
            rule += std::string(",") + key + "='" + value + "'";
        }
    };
    add("sender", filter.sender);
    add("path", filter.path);
    add("path_namespace", filter.pathNamespace);
    add("interface", filter.interface);
    add("member", filter.name);
    add("arg0", filter.firstArgument);
    return rule;
}

}  // namespace

bool IsSilence(const Error& error)
{
    for (const char* const name :
         {"NoReply", "Timeout", "TimedOut", "Disconnected", "ServiceUnknown", "NameHasNoOwner"}) {
        if (error.name == std::string("org.freedesktop.DBus.Error.") + name) {
            return true;
        }
    }
    return false;
}

Invocation::Invocation(sd_bus_message* call) : call_(sd_bus_message_ref(call)) {}

Invocation::~Invocation()
{
    if (call_ != nullptr) {
        sd_bus_reply_method_errorf(call_, SD_BUS_ERROR_FAILED, "%s", "not answered");
        sd_bus_message_unref(call_);
    }
}

Invocation::Invocation(Invocation&& other) noexcept : call_(std::exchange(other.call_, nullptr)) {}

Invocation& Invocation::operator=(Invocation&& other) noexcept
{
    std::swap(call_, other.call_);
    return *this;
}

void Invocation::Return(const Arguments& results)
{
    if (call_ == nullptr) {
        return;
    }
    sd_bus_message* made = nullptr;
    Check(sd_bus_message_new_method_return(call_, &made), "cannot answer a call");
    const OwnMessage answer(made);
    Append(made, results);  // if it throws, the destructor answers with an error
    const OwnMessage call(std::exchange(call_, nullptr));
    sd_bus_send(nullptr, made, nullptr);  // the caller may have gone
}

void Invocation::Fail(const Error& error)
{
    const OwnMessage call(std::exchange(call_, nullptr));
    if (call) {
        sd_bus_reply_method_errorf(call.get(), error.name.c_str(), "%s", error.message.c_str());
    }
}

Bus::Bus(Loop& loop, std::function<void()> lost) : loop_(loop), lost_(std::move(lost))
{
    Check(sd_bus_open_system(&bus_), "no message bus");
    loop_.Add(*this);
}

Bus::~Bus()
{
    loop_.Remove(*this);
    sent_.clear();
    sd_bus_close_unref(bus_);
}

Bus::Slot Bus::Call(const Method& method, const Arguments& arguments, OnReply done,
                    std::chrono::microseconds limit)
{
    const auto state = std::make_shared<Slot::State>(loop_);
    state->done = std::move(done);
    try {
        SendCall(*state, method, arguments, limit);
    } catch (const std::system_error& failure) {
        // The caller gets an answer as for any other call. If the connection has ended, Ready
        // detects that later.
        state->failing =
            loop_.After(Loop::Duration::zero(), [one = state.get(), reply = ReplyOf(failure)] {
                const OnReply callback = std::exchange(one->done, nullptr);
                const Loop::Timer timer = std::move(one->failing);  // until the end of this call
                callback(reply);
            });
    }
    return Slot(state);
}

void Bus::SendCall(Slot::State& state, const Method& method, const Arguments& arguments,
                   std::chrono::microseconds limit)
{
    sd_bus_message* made = nullptr;
    Check(
        sd_bus_message_new_method_call(bus_, &made, method.destination.c_str(), method.path.c_str(),
                                       OrNothing(method.interface), method.name.c_str()),
        "cannot call a method");
    const OwnMessage message(made);
    // The bus must not start a service that has ended because of a late call.
    sd_bus_message_set_auto_start(made, 0);
    Append(made, arguments);
    const auto answered = [](sd_bus_message* reply, void* data, sd_bus_error*) {
        auto& slot = *static_cast<Slot::State*>(data);
        Loop& itsLoop = slot.loop;
        // The callback may destroy its own slot, and with it the callback's own captures.
        const OnReply callback = std::exchange(slot.done, nullptr);
        try {
            if (callback) {
                callback(ReplyOf(reply));
            }
        } catch (const std::exception& failure) {
            itsLoop.Report(failure.what());
        }
        return 0;
    };
    Check(sd_bus_call_async(bus_, &state.slot, made, answered, &state,
                            static_cast<std::uint64_t>(limit.count())),
          "cannot call a method");
}

void Bus::Send(const Method& method, const Arguments& arguments, OnReply done,
               std::chrono::microseconds limit)
{
    const std::uint64_t number = ++lastSent_;
    sent_.emplace(number, Call(
                              method, arguments,
                              [this, number, done = std::move(done)](const Reply& reply) {
                                  const Slot self = std::move(sent_.extract(number).mapped());
                                  if (done) {
                                      done(reply);
                                  }
                              },
                              limit));
}

Bus::Slot Bus::Watch(const SignalFilter& filter, OnSignal heard)
{
    const auto state = std::make_shared<Slot::State>(loop_);
    state->heard = std::move(heard);
    const auto came = [](sd_bus_message* message, void* data, sd_bus_error*) {
        const auto& slot = *static_cast<const Slot::State*>(data);
        Loop& itsLoop = slot.loop;
        const OnSignal callback = slot.heard;  // it may destroy its own slot
        try {
            callback({TextOf(sd_bus_message_get_sender(message)),
                      TextOf(sd_bus_message_get_path(message)),
                      TextOf(sd_bus_message_get_interface(message)),
                      TextOf(sd_bus_message_get_member(message)), Read(message)});
        } catch (const std::exception& failure) {
            itsLoop.Report(failure.what());
        }
        return 0;
    };
    Check(sd_bus_add_match_async(bus_, &state->slot, RuleOf(filter).c_str(), came, nullptr,
                                 state.get()),
          "cannot ask for signals");
    return Slot(state);
}

Bus::Slot Bus::Serve(const std::string& path, OnCall called)
{
    const auto state = std::make_shared<Slot::State>(loop_);
    state->called = std::move(called);
    const auto came = [](sd_bus_message* message, void* data, sd_bus_error*) {
        const auto& slot = *static_cast<const Slot::State*>(data);
        Loop& itsLoop = slot.loop;
        const OnCall callback = slot.called;
        try {
            callback({TextOf(sd_bus_message_get_sender(message)),
                      TextOf(sd_bus_message_get_path(message)),
                      TextOf(sd_bus_message_get_interface(message)),
                      TextOf(sd_bus_message_get_member(message)), Read(message)},
                     Invocation(message));
        } catch (const std::exception& failure) {
            itsLoop.Report(failure.what());
        }
        return 1;
    };
    Check(sd_bus_add_fallback(bus_, &state->slot, path.c_str(), came, state.get()),
          "cannot serve a path");
    return Slot(state);
}

void Bus::Emit(const std::string& path, const std::string& interface, const std::string& name,
               const Arguments& arguments)
{
    sd_bus_message* made = nullptr;
    Check(sd_bus_message_new_signal(bus_, &made, path.c_str(), interface.c_str(), name.c_str()),
          "cannot make a signal");
    const OwnMessage message(made);
    Append(made, arguments);
    sd_bus_send(bus_, made, nullptr);
}

Loop::Interest Bus::Wants()
{
    Loop::Interest interest;
    interest.descriptor = sd_bus_get_fd(bus_);
    const int events = sd_bus_get_events(bus_);
    std::uint64_t due = UINT64_MAX;
    if (interest.descriptor < 0 || events < 0 || sd_bus_get_timeout(bus_, &due) < 0) {
        // The connection has ended: Ready handles that.
        return {-1, 0, Loop::Clock::now()};
    }
    interest.events = static_cast<short>(events);
    if (due != UINT64_MAX) {
        // It counts CLOCK_MONOTONIC, as the steady clock does.
        interest.due = Loop::Clock::time_point(std::chrono::microseconds(due));
    }
    return interest;
}

void Bus::Ready(short)
{
    // How many messages are handled before other sources have their turn.
    constexpr int kMostAtOnce = 64;
    // The bus exists throughout: no callback but `lost` may destroy it.
    int result = 1;
    for (int i = 0; i < kMostAtOnce && result > 0; ++i) {
        result = sd_bus_process(bus_, nullptr);
    }
    if (result < 0 || sd_bus_is_open(bus_) <= 0) {
        HandleEnd();
    }
}

void Bus::HandleEnd()
{
    loop_.Remove(*this);
    if (const auto lost = std::exchange(lost_, nullptr)) {
        lost();
    }
}

}  // namespace pelacon::service::linux_radios::dbus
