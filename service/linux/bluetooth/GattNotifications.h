// The values that characteristics of other devices send by themselves.
#pragma once

#include <service/linux/PacketSocket.h>
#include <service/linux/bluetooth/GattStatus.h>
#include <service/linux/bluetooth/Stack.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace pelacon::service::linux_radios::bluetooth {

/// BlueZ lets this process subscribe to a characteristic once; any number of links may do so here.
/// It drops values that this process does not take: a socket holds some 200. In the loop's thread.
class GattNotifications : private Stack::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Got = std::function<void(const Bytes& value, bool isIndication)>;
    using Done = std::function<void(GattStatus)>;

    /// Somebody's subscription, for as long as this lives; ends before all of it does.
    class Subscription {
      public:
        Subscription(GattNotifications& all, std::string path, std::uint64_t number)
            : all_(all), path_(std::move(path)), number_(number)
        {}
        ~Subscription() { all_.End(path_, number_); }
        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;

      private:
        GattNotifications& all_;
        std::string path_;
        std::uint64_t number_;
    };

    /// While this lives a change of a characteristic's value is what a read of ours found.
    class Reading {
      public:
        Reading(GattNotifications& all, std::string path);
        ~Reading();
        Reading(const Reading&) = delete;
        Reading& operator=(const Reading&) = delete;

      private:
        GattNotifications& all_;
        std::string path_;
    };

    explicit GattNotifications(Stack& stack);
    ~GattNotifications() override;

    /// `done` and `got` are called later, and not any more once the subscription has ended; they
    /// may end it, and do so where it has failed. The device is connected.
    [[nodiscard]] std::unique_ptr<Subscription> Subscribe(
        const bluez::Characteristic& characteristic, Got got, Done done);

  private:
    enum class State : std::uint8_t { kOff, kStarting, kOn };
    struct Subscriber {
        Got got;
        Done done;  // empty once it was called
    };
    /// A characteristic that somebody subscribed to.
    struct Source {
        State state = State::kOff;
        bool isIndication = false;
        std::unique_ptr<PacketSocket> packets;  // none: values come as changes of the property
        std::map<std::uint64_t, Subscriber> subscribers;
        dbus::Bus::Slot call;
        Loop::Timer later;
    };

    void AdapterChanged() override {}
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    void Acquire(const std::string& path);
    void Start(const std::string& path);
    void Finish(const std::string& path, GattStatus result);
    void Deliver(const std::string& path, const Bytes& value);
    void End(const std::string& path, std::uint64_t number);

    /// Calls `use` with each subscriber that is still there by then.
    template <typename Use>
    void ForEachSubscriber(const std::string& path, const Use& use);

    Stack& stack_;
    std::uint64_t lastNumber_ = 0;
    std::map<std::string, Source> sources_;
    std::map<std::string, int> reading_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
