// Errors as the world file describes them.
#pragma once

#include <json/Reader.h>

#include <chrono>
#include <cstdint>

namespace pelacon::service::simulation {

struct ErrorConfig {
    std::int32_t code = 0;
    std::chrono::milliseconds after{0};  ///< the service's start
    std::chrono::milliseconds every{0};  ///< and then again and again; 0: never again
};

ErrorConfig ReadError(const json::Reader& reader);

}  // namespace pelacon::service::simulation
