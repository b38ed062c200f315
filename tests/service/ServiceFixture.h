// A service in the test's own process, on a pipe of its own.
#pragma once

#include <service/core/PipeService.h>
#include <tests/service/TestClient.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <optional>
#include <string>

namespace pelacon::service::tests {

using test::Eventually;

/// Base of tests that speak with a whole service over a real pipe.
class ServiceTest : public testing::Test {
  protected:
    ServiceTest();

    /// Starts a service with this world. One that ran before has to be ended first.
    void StartService(const std::string& world = "{}", std::uint64_t seed = 1);

    /// Starts one with these radios.
    void StartService(radio::Factory makeRadios);
    void EndService() { service_.reset(); }

    const std::wstring& PipeName() const noexcept { return pipeName_; }

    /// Sends an operator's command, and expects that it is done. Returns its answer.
    nlohmann::json Command(const nlohmann::json& command);

    /// Sends an operator's command as it is. Returns its answer, whatever it is.
    nlohmann::json CommandText(const std::string& command);

  private:
    std::wstring pipeName_;
    std::optional<PipeService> service_;
};

}  // namespace pelacon::service::tests
