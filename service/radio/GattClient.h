// Connecting to other devices and using their characteristics.
#pragma once

#include <service/base/Interface.h>
#include <service/base/Scheduler.h>
#include <service/radio/Gatt.h>

#include <cstdint>
#include <memory>

namespace pelacon::service::radio {

/// Observes one connection. Each member may destroy the connection.
class GattConnectionObserver : public Interface {
  public:
    virtual void Connected() = 0;

    /// The connection ended, or could not be established. The last call.
    virtual void Ended(GattReason reason) = 0;

    /// A subscribed characteristic has a new value.
    virtual void Notified(const Uuid& service, const Uuid& characteristic, const GattValue& value,
                          bool isIndication) = 0;
};

/// A connection to one device, from the attempt on. Operations on a connection that is not up end
/// with kNotConnected, as do those that its end interrupts. Its destructor closes it without
/// calling the observer.
class GattConnection : public Interface {
  public:
    struct ReadResult {
        GattStatus status;
        GattValue value;
    };

    virtual bool IsUp() const = 0;
    virtual std::int32_t Mtu() const = 0;

    /// Discovers the device's services. HasService is false for all of them before.
    virtual Completion<GattStatus> Discover() = 0;
    virtual bool HasService(const Uuid& service) const = 0;

    virtual Completion<ReadResult> Read(const Uuid& service, const Uuid& characteristic) = 0;
    virtual Completion<GattStatus> Write(const Uuid& service, const Uuid& characteristic,
                                         GattValue value) = 0;
    virtual Completion<GattStatus> Subscribe(const Uuid& service, const Uuid& characteristic,
                                             bool enable) = 0;
};

/// The central role of a Bluetooth adapter.
class GattClient : public Interface {
  public:
    /// Begins to connect. The observer must outlive the connection; it is not called inside this
    /// call.
    virtual std::unique_ptr<GattConnection> Connect(std::uint64_t address,
                                                    GattConnectionObserver& observer) = 0;
};

}  // namespace pelacon::service::radio
