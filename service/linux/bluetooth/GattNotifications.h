// The values of other devices' characteristics: those that are read, and notifications.
#pragma once

#include <service/linux/bluetooth/Stack.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

/// A process can subscribe to a characteristic of BlueZ once; any number of links share that. BlueZ
/// signals every notification and indication as a change of the property Value, one signal each,
/// and the result of a read likewise, immediately before the reply. Reads are therefore made here,
/// which keeps the two apart; only a read by another program looks like a notification. In the
/// loop's thread.
class GattNotifications : private Stack::Observer {
  public:
    using Bytes = dbus::Bytes;
    using Received = std::function<void(const Bytes& value, bool isIndication)>;
    /// Without an error: the subscription is established.
    using Established = std::function<void(const std::optional<dbus::Error>& error)>;

    /// A subscription, for as long as this lives; ends before the GattNotifications.
    class Subscription {
      public:
        Subscription(GattNotifications& all, std::string path, std::uint64_t number)
            : all_(all), path_(std::move(path)), number_(number)
        {}
        ~Subscription() { all_.End(path_, number_); }
        /// The characteristic's.
        const std::string& Path() const noexcept { return path_; }
        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;

      private:
        GattNotifications& all_;
        std::string path_;
        std::uint64_t number_;
    };

    explicit GattNotifications(Stack& stack);
    ~GattNotifications() override;

    /// `established` and `received` are called later, and not after the end of the subscription.
    /// They may end it, and do so if it could not be established. The device is connected. If the
    /// device removes the characteristic, `received` is not called any more.
    [[nodiscard]] std::unique_ptr<Subscription> Subscribe(
        const bluez::Characteristic& characteristic, Received received, Established established);

    /// Reads the value of the characteristic with this path. `done` is called once, later, and not
    /// after the end of what is returned.
    [[nodiscard]] std::shared_ptr<void> Read(const std::string& path, dbus::Bus::OnReply done);

  private:
    enum class State : std::uint8_t { kOff, kStarting, kOn };
    struct Subscriber {
        Received received;
        Established established;  // empty after the call
    };
    /// A characteristic with subscribers.
    struct Source {
        State state = State::kOff;
        bool isIndication = false;
        std::map<std::uint64_t, Subscriber> subscribers;
        dbus::Bus::Slot call;
        Loop::Timer later;
    };
    /// A characteristic that is being read.
    struct Reads {
        int underWay = 0;
        std::optional<Bytes> latest;  // the last change, which may be what a read has found
    };

    void AdapterChanged() override;
    void ObjectRemoved(const std::string& path, const std::string& interface,
                       const dbus::Properties& last) override;
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    void Start(const std::string& path);
    void Finish(const std::string& path, const std::optional<dbus::Error>& error);
    void Deliver(const std::string& path, const Bytes& value);
    void End(const std::string& path, std::uint64_t number);
    void EndRead(const std::string& path, bool isFound);

    /// Calls `use` with each subscriber, except those whose subscription an earlier call has ended.
    template <typename Use>
    void ForEachSubscriber(const std::string& path, const Use& use);

    Stack& stack_;
    std::uint64_t lastNumber_ = 0;
    std::map<std::string, Source> sources_;
    std::map<std::string, Reads> reads_;
    std::map<std::uint64_t, dbus::Bus::Slot> readCalls_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
