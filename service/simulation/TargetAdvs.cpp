#include <service/simulation/TargetAdvs.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

void ReadTargetAdv(json::Fields& fields, TargetAdvConfig& config)
{
    config.advertisement.business =
        static_cast<BleTargetBusiness>(fields.Required("business").Integer<std::int32_t>());
    if (const auto data = fields.Optional("data")) {
        const std::vector<std::uint8_t> bytes = data->Hex(0, sizeof config.advertisement.data);
        std::copy(bytes.begin(), bytes.end(), config.advertisement.data);
    }
    fields.Read("everyMs", config.every, 1ms, 1h);
}

}  // namespace pelacon::service::simulation
