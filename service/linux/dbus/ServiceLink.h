// The system's bus and one service on it, as they come and go.
#pragma once

#include <service/linux/dbus/Bus.h>
#include <service/linux/dbus/ObjectMirror.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace pelacon::service::linux_radios::dbus {

/// Connects to the bus and mirrors a service; again each time that the connection is lost. In the
/// loop's thread.
class ServiceLink {
  public:
    /// How long until a bus that is absent is tried again.
    static constexpr std::chrono::seconds kNextTry{10};

    /// `lost` is called when there is no bus, or none any more; the objects are gone then without
    /// a call of the observer.
    ServiceLink(Loop& loop, std::string service, std::string root, ObjectMirror::Observer& observer,
                std::function<void()> lost);

    ServiceLink(const ServiceLink&) = delete;
    ServiceLink& operator=(const ServiceLink&) = delete;

    /// Begins to connect.
    void Start() { Connect(); }

    bool IsConnected() const noexcept { return mirror_ != nullptr; }

    /// These exist while it is connected.
    Bus& GetBus() const { return *bus_; }
    ObjectMirror& Mirror() const { return *mirror_; }

  private:
    void Connect();
    void Disconnect();

    Loop& loop_;
    std::string service_;
    std::string root_;
    ObjectMirror::Observer& observer_;
    std::function<void()> lost_;
    std::unique_ptr<Bus> bus_;
    std::unique_ptr<ObjectMirror> mirror_;
    Loop::Timer next_;
};

}  // namespace pelacon::service::linux_radios::dbus
