// The simulated radio as it connects to simulated devices, and to this machine itself.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/GattClient.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/GattLink.h>

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

    /// A device under this address can be connected to from now on; it outlives all connections.
    void AddDevice(std::uint64_t address, GattDevice& device) { devices_[address] = &device; }

    /// The device under this address, or null.
    GattDevice* Find(std::uint64_t address) const;

    bool IsRadioOn() const { return adapter_.IsOn(); }

    /// What both ends can do.
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

/// Ends those of the links that are still there when their turn comes: the end of one may be that
/// of others.
void EndLinks(const std::vector<GattLink*>& links, radio::GattReason reason);

}  // namespace pelacon::service::simulation
