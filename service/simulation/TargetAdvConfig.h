// The description of received targeted advertisements in a world file.
#pragma once

#include <json/Reader.h>
#include <service/radio/TargetAdvs.h>

#include <chrono>

namespace pelacon::service::simulation {

struct TargetAdvConfig {
    radio::TargetAdv advertisement{};
    std::chrono::milliseconds every{1000};
};

void ReadTargetAdv(json::Fields& fields, TargetAdvConfig& config);

}  // namespace pelacon::service::simulation
