// The description of errors in a world file.
#pragma once

#include <json/Reader.h>

#include <chrono>
#include <cstdint>

namespace pelacon::service::simulation {

struct ErrorConfig {
    std::int32_t code = 0;
    std::chrono::milliseconds after{0};  ///< from the service's start
    std::chrono::milliseconds every{0};  ///< period of repetition; 0: once
};

void ReadError(json::Fields& fields, ErrorConfig& config);

}  // namespace pelacon::service::simulation
