// The measurements of scanning.
#pragma once

#include <bench/Scenarios.h>

#include <memory>

namespace pelacon::bench {

std::unique_ptr<Scenario> MakeDelivery();
std::unique_ptr<Scenario> MakeBurst();
std::unique_ptr<Scenario> MakeParsing();

}  // namespace pelacon::bench
