// A simulated GATT connection, and the device at its other end.
#pragma once

#include <service/base/Interface.h>
#include <service/base/Scheduler.h>
#include <service/radio/GattClient.h>
#include <service/simulation/GattConfig.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>

namespace pelacon::service::simulation {

class GattClient;
class GattLink;

/// A device that can be connected to.
class GattDevice : public Interface {
  public:
    virtual const GattLinkConfig& Config() const = 0;

    /// Accepts the link and returns kNone, or returns why it does not.
    virtual radio::GattReason Join(GattLink& link) = 0;

    /// The link ended. Only called for links that were accepted.
    virtual void Leave(GattLink& link) = 0;

    virtual bool HasService(const radio::Uuid& service) const = 0;

    /// What a characteristic can do; nothing if the device does not have it.
    virtual std::optional<std::int32_t> FlagsOf(const radio::Uuid& service,
                                                const radio::Uuid& characteristic) = 0;

    /// These are called only if the characteristic's flags permit it.
    virtual radio::GattValue Read(GattLink& link, const radio::Uuid& service,
                                  const radio::Uuid& characteristic) = 0;
    virtual void Write(GattLink& link, const radio::Uuid& service,
                       const radio::Uuid& characteristic, radio::GattValue value) = 0;
    virtual void Subscribe(GattLink& link, const radio::Uuid& service,
                           const radio::Uuid& characteristic, bool enable) = 0;
};

/// A connection from this machine to a device.
class GattLink : public radio::GattConnection {
  public:
    GattLink(Scheduler& scheduler, GattClient& client, std::uint64_t address,
             radio::GattConnectionObserver& observer);
    ~GattLink() override { Close(); }

    bool IsUp() const override { return device_ != nullptr; }
    std::int32_t Mtu() const override;
    Completion<radio::GattStatus> Discover() override;
    bool HasService(const radio::Uuid& service) const override;
    Completion<ReadResult> Read(const radio::Uuid& service,
                                const radio::Uuid& characteristic) override;
    Completion<radio::GattStatus> Write(const radio::Uuid& service,
                                        const radio::Uuid& characteristic,
                                        radio::GattValue value) override;
    Completion<radio::GattStatus> Subscribe(const radio::Uuid& service,
                                            const radio::Uuid& characteristic,
                                            bool enable) override;

    /// For the device: notifies the observer of a value, of which a packet carries the first
    /// MTU - 3 bytes; ends the connection, which usually destroys it.
    void Notify(const radio::Uuid& service, const radio::Uuid& characteristic,
                radio::GattValue value, bool isIndication);
    void End(radio::GattReason reason);

  private:
    /// A request that the device has not answered yet.
    struct Pending {
        Timer answer;
        std::function<void()> abandon;
    };

    void Establish();
    void Close();

    radio::GattStatus Permission(const radio::Uuid& service, const radio::Uuid& characteristic,
                                 std::int32_t flags) const;

    template <typename Result>
    Completion<Result> Ask(Result whenEnded, std::function<Result()> answer);

    Scheduler& scheduler_;
    GattClient& client_;
    std::uint64_t address_;
    radio::GattConnectionObserver& observer_;
    GattDevice* device_ = nullptr;  // while it is up
    bool isClosed_ = false;
    bool isDiscovered_ = false;
    Timer establishing_;
    std::map<std::uint64_t, Pending> pending_;
    std::uint64_t lastRequest_ = 0;
};

}  // namespace pelacon::service::simulation
