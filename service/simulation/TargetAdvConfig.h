// Targeted advertisements that come by themselves, as the world file describes them.
#pragma once

#include <json/Reader.h>
#include <service/radio/TargetAdvs.h>

#include <chrono>

namespace pelacon::service::simulation {

struct TargetAdvConfig {
    radio::TargetAdv advertisement;
    std::chrono::milliseconds every{1000};
};

TargetAdvConfig ReadTargetAdv(const json::Reader& reader);

}  // namespace pelacon::service::simulation
