// A connection to a message bus, on the loop.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/dbus/Value.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct sd_bus;
struct sd_bus_message;
struct sd_bus_slot;

namespace pelacon::service::linux_radios::dbus {

/// The error that a peer answers with.
struct Error {
    std::string name;  ///< such as "org.bluez.Error.Failed"
    std::string message;
};

/// Whether there was no answer: not in time, or the peer or the connection is gone, or there is no
/// such peer.
bool IsSilence(const Error& error);

/// The method that a call is for.
struct Method {
    std::string destination;
    std::string path;
    std::string interface;
    std::string name;
};

struct Reply {
    std::optional<Error> error;
    Arguments arguments;

    bool IsError() const noexcept { return error.has_value(); }

    /// The first argument as this type, if there is one.
    template <typename Type>
    const Type* First() const
    {
        return arguments.empty() ? nullptr : arguments.front().As<Type>();
    }
};

struct Signal {
    std::string sender;
    std::string path;
    std::string interface;
    std::string name;
    Arguments arguments;
};

/// Which signals to receive; empty fields match all.
struct SignalFilter {
    std::string sender;
    std::string path;
    std::string pathNamespace;  ///< this path and all below it
    std::string interface;
    std::string name;
    std::string firstArgument;
};

/// A call of an object of this process that is not answered yet. It may be kept, and answered
/// later, while the bus exists. Its destructor answers with an error if there was no answer.
class Invocation {
  public:
    explicit Invocation(sd_bus_message* call);
    ~Invocation();
    Invocation(Invocation&& other) noexcept;
    Invocation& operator=(Invocation&& other) noexcept;
    Invocation(const Invocation&) = delete;
    Invocation& operator=(const Invocation&) = delete;

    void Return(const Arguments& results = {});
    void Fail(const Error& error);

  private:
    sd_bus_message* call_;
};

/// A call that another program makes.
struct Incoming {
    std::string sender;
    std::string path;
    std::string interface;
    std::string name;
    Arguments arguments;
};

/// A connection to a bus. Used in the loop's thread, where all callbacks are called; none is called
/// within a call of a member.
class Bus : private Loop::Source {
  public:
    using OnReply = std::function<void(const Reply&)>;
    using OnSignal = std::function<void(const Signal&)>;
    using OnCall = std::function<void(const Incoming&, Invocation)>;

    /// A call or a subscription. Its callback is not called once this is destroyed.
    class Slot {
      public:
        Slot() = default;

        explicit operator bool() const noexcept { return state_ != nullptr; }
        void Reset() noexcept { state_.reset(); }

      private:
        friend class Bus;
        struct State;
        explicit Slot(std::shared_ptr<State> state) : state_(std::move(state)) {}
        std::shared_ptr<State> state_;
    };

    /// How long a method call waits for its answer by default.
    static constexpr std::chrono::seconds kUsualLimit{25};

    /// Connects to the system's bus, or to the one that DBUS_SYSTEM_BUS_ADDRESS names. Does not
    /// wait for it. `lost` is called once, when the connection has ended; it may destroy the bus.
    /// Throws std::system_error where there is no bus.
    Bus(Loop& loop, std::function<void()> lost);
    ~Bus() override;

    /// Calls a method. `done` is called once, with its answer or an error, which is also what it
    /// gets if the call cannot be sent.
    [[nodiscard]] Slot Call(const Method& method, const Arguments& arguments, OnReply done,
                            std::chrono::microseconds limit = kUsualLimit);

    /// The same without a handle: `done` may be empty, and is called as long as the bus exists.
    void Send(const Method& method, const Arguments& arguments, OnReply done = {},
              std::chrono::microseconds limit = kUsualLimit);

    [[nodiscard]] Slot Watch(const SignalFilter& filter, OnSignal heard);

    /// `handler` is called for each call of the object at the path, or of one below it.
    [[nodiscard]] Slot Serve(const std::string& path, OnCall called);

    void Emit(const std::string& path, const std::string& interface, const std::string& name,
              const Arguments& arguments);

    Loop& GetLoop() const noexcept { return loop_; }

  private:
    Loop::Interest Wants() override;
    void Ready(short events) override;
    void SendCall(Slot::State& state, const Method& method, const Arguments& arguments,
                  std::chrono::microseconds limit);
    void HandleEnd();

    Loop& loop_;
    std::function<void()> lost_;
    sd_bus* bus_ = nullptr;
    std::uint64_t lastSent_ = 0;
    std::map<std::uint64_t, Slot> sent_;
};

}  // namespace pelacon::service::linux_radios::dbus
