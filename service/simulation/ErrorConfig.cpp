#include <service/simulation/ErrorConfig.h>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;

void ReadError(json::Fields& fields, ErrorConfig& config)
{
    config.code = fields.Required("code").Integer<std::int32_t>();
    config.after = fields.Required("afterMs").Milliseconds(0ms, 24h);
    fields.Read("everyMs", config.every, 1ms, 24h);
}

}  // namespace pelacon::service::simulation
