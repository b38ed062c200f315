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

/// What a peer answers instead of a result.
struct Error {
    std::string name;  ///< such as "org.bluez.Error.Failed"
    std::string message;
};

/// Whether nobody answered: not in time, not before the peer or the connection was gone, or there
/// is no such peer.
bool IsSilence(const Error& error);

/// Where a call goes.
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

/// Which signals are wanted; what is empty is not compared.
struct SignalFilter {
    std::string sender;
    std::string path;
    std::string pathNamespace;  ///< this path and all below it
    std::string interface;
    std::string name;
    std::string firstArgument;
};

/// A call of one of our objects that waits for its answer. Whoever drops it without an answer
/// answers with an error. It may be kept, and answered later, while the bus lives.
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

/// What a call from outside is about.
struct Incoming {
    std::string sender;
    std::string path;
    std::string interface;
    std::string name;
    Arguments arguments;
};

/// A connection to a bus. All of it is used in the loop's thread, and all callbacks come there;
/// none comes from within a call here.
class Bus : private Loop::Source {
  public:
    using OnReply = std::function<void(const Reply&)>;
    using OnSignal = std::function<void(const Signal&)>;
    using OnCall = std::function<void(const Incoming&, Invocation)>;

    /// Something asked of the bus, for as long as this lives: afterwards its callback is not
    /// called.
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

    /// A method call waits this long for its answer unless something else is said.
    static constexpr std::chrono::seconds kUsualLimit{25};

    /// Connects to the system's bus, or to the one that DBUS_SYSTEM_BUS_ADDRESS names. Does not
    /// wait for it. `lost` is called once, when the connection has ended; it may destroy the bus.
    /// Throws std::system_error where there is no bus.
    Bus(Loop& loop, std::function<void()> lost);
    ~Bus() override;

    /// Calls a method. `done` is called once, with its answer or an error.
    [[nodiscard]] Slot Call(const Method& method, const Arguments& arguments, OnReply done,
                            std::chrono::microseconds limit = kUsualLimit);

    /// The same for those who need no handle: `done` may be empty, and comes while the bus lives.
    void Send(const Method& method, const Arguments& arguments, OnReply done = {},
              std::chrono::microseconds limit = kUsualLimit);

    [[nodiscard]] Slot Watch(const SignalFilter& filter, OnSignal heard);

    /// Has calls answered that come for the path, or for one below it.
    [[nodiscard]] Slot Serve(const std::string& path, OnCall called);

    void Emit(const std::string& path, const std::string& interface, const std::string& name,
              const Arguments& arguments);

    Loop& GetLoop() const noexcept { return loop_; }

  private:
    Loop::Interest Wants() override;
    void Ready(short events) override;
    void HandleEnd();

    Loop& loop_;
    std::function<void()> lost_;
    sd_bus* bus_ = nullptr;
    std::uint64_t lastSent_ = 0;
    std::map<std::uint64_t, Slot> sent_;
};

}  // namespace pelacon::service::linux_radios::dbus
