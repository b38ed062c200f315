#include <service/simulation/GattClient.h>

#include <algorithm>

namespace pelacon::service::simulation {

GattClient::GattClient(Scheduler& scheduler, Adapter& adapter, const GattLinkConfig& config)
    : scheduler_(scheduler), adapter_(adapter), config_(config)
{
    adapter.Observe([this](radio::AdapterState state) {
        if (state != radio::AdapterState::kOn) {
            EndAll(links_, radio::GattReason::kLocal);
        }
    });
}

std::unique_ptr<radio::GattConnection> GattClient::Connect(std::uint64_t address,
                                                           radio::GattConnectionObserver& observer)
{
    return std::make_unique<GattLink>(scheduler_, *this, address, observer);
}

GattDevice* GattClient::Find(std::uint64_t address) const
{
    const auto found = devices_.find(address);
    return found != devices_.end() ? found->second : nullptr;
}

std::int32_t GattClient::MtuWith(const GattDevice& device) const
{
    return std::min(config_.mtu, device.Config().mtu);
}

}  // namespace pelacon::service::simulation
