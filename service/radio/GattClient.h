// The radio as it connects to other devices and works with their characteristics.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Gatt.h>

#include <cstdint>
#include <memory>

namespace pelacon::service::radio {

/// Hears of one connection. Each of these may destroy the connection.
class GattConnectionObserver {
  public:
    GattConnectionObserver() = default;
    virtual ~GattConnectionObserver() = default;
    GattConnectionObserver(const GattConnectionObserver&) = delete;
    GattConnectionObserver& operator=(const GattConnectionObserver&) = delete;

    virtual void Connected() = 0;

    /// It is over, or will not come up. Nothing else is told afterwards.
    virtual void Ended(GattReason reason) = 0;

    /// A value of a characteristic that was subscribed to.
    virtual void Notified(const Uuid& service, const Uuid& characteristic, const GattValue& value,
                          bool isIndication) = 0;
};

/// A connection to one device, from the attempt on. What is asked of one that is not up ends in
/// kNotConnected, as does what is still under way when it ends. Destroying it ends it, without a
/// word to its observer.
class GattConnection {
  public:
    struct ReadResult {
        GattStatus status;
        GattValue value;
    };

    GattConnection() = default;
    virtual ~GattConnection() = default;
    GattConnection(const GattConnection&) = delete;
    GattConnection& operator=(const GattConnection&) = delete;

    virtual bool IsUp() const = 0;
    virtual std::int32_t Mtu() const = 0;

    /// Has the device's services found. Until that is done it has none.
    virtual Completion<GattStatus> Discover() = 0;
    virtual bool HasService(const Uuid& service) const = 0;

    virtual Completion<ReadResult> Read(const Uuid& service, const Uuid& characteristic) = 0;
    virtual Completion<GattStatus> Write(const Uuid& service, const Uuid& characteristic,
                                         GattValue value) = 0;
    virtual Completion<GattStatus> Subscribe(const Uuid& service, const Uuid& characteristic,
                                             bool enable) = 0;
};

/// Called under the world's lock, and calls back under it.
class GattClient {
  public:
    GattClient() = default;
    virtual ~GattClient() = default;
    GattClient(const GattClient&) = delete;
    GattClient& operator=(const GattClient&) = delete;

    /// Begins to connect. The observer outlives the connection and hears of it later, not at once.
    virtual std::unique_ptr<GattConnection> Connect(std::uint64_t address,
                                                    GattConnectionObserver& observer) = 0;
};

}  // namespace pelacon::service::radio
