// Simulated connections to simulated devices and to this machine itself.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/GattClient.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/GattLink.h>
#include <service/simulation/Stack.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace pelacon::service::simulation {

/// All connections from this machine. They end when the adapter is switched off.
class GattClient : public radio::GattClient {
  public:
    GattClient(Scheduler& scheduler, Adapter& adapter, const GattLinkConfig& config);

    std::unique_ptr<radio::GattConnection> Connect(
        std::uint64_t address, radio::GattConnectionObserver& observer) override;

    /// Adds a device that can be connected to. It must outlive all connections.
    void AddDevice(std::uint64_t address, GattDevice& device) { devices_[address] = &device; }

    /// The device with this address, or null.
    GattDevice* Find(std::uint64_t address) const;

    bool IsRadioOn() const { return adapter_.IsOn(); }

    /// The MTU that both ends support.
    std::int32_t MtuWith(const GattDevice& device) const;

  private:
    friend class GattLink;
    void Add(GattLink& link) { links_.push_back(&link); }
    void Remove(const GattLink& link) { std::erase(links_, &link); }

    Scheduler& scheduler_;
    Adapter& adapter_;
    GattLinkConfig config_;
    std::map<std::uint64_t, GattDevice*> devices_;
    std::vector<GattLink*> links_;
};

}  // namespace pelacon::service::simulation
