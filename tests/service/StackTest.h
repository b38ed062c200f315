// A stack that is slow, refuses, or ends what it was doing.
#pragma once

#include <protocol/ServiceStatus.h>
#include <tests/service/ServiceFixture.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::tests {

/// A time that no test waits for.
inline constexpr int kForever = 600000;

/// Why the stack refuses, and the status of the request.
inline const std::vector<std::pair<std::string, std::int32_t>> kRefusals{
    {"no-adapter", protocol::kStatusNotSupported},
    {"off", protocol::kStatusRadioOff},
    {"blocked", protocol::kStatusRadioOff},
    {"not-permitted", protocol::kStatusNotPermitted},
    {"limit-reached", protocol::kStatusLimitReached},
    {"failed", protocol::kStatusNotSupported}};

/// Base of tests that change the stack of a running service.
class StackTest : public ServiceTest {
  protected:
    void Behave(const std::string& operation, nlohmann::json how = nlohmann::json::object())
    {
        how["command"] = "stack.set";
        how["operation"] = operation;
        Command(how);
    }

    /// Returns how many advertisements or scans it ended.
    int End(const std::string& operation)
    {
        return Command({{"command", "stack.end"}, {"operation", operation}}).at("ended");
    }
};

}  // namespace pelacon::service::tests
