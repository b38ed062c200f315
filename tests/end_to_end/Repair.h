// What the library asks of a service that greets it, seen from the service.
#pragma once

#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/ServiceProcess.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

namespace pelacon::test {

/// A program that is started here and connected to a service that is not where it was installed.
class Repair : public ::testing::Test {
  protected:
    ~Repair() override { PelaconSvcStop(); }

    /// A copy of the service's program in a folder of the test's own.
    std::filesystem::path Copy() const
    {
        const std::filesystem::path original = ServicePath();
        const std::filesystem::path copy = folder.Path() / original.filename();
        std::filesystem::copy_file(original, copy);
        return copy;
    }

    static int Requests(const ServiceProcess& service)
    {
        return service.Command({{"command", "status"}})["counters"]["requests"].get<int>();
    }

    /// The event connection is lost, and the library greeted when it is back: whether the library
    /// then repairs what the service holds for it, which is one request as nothing is registered.
    static bool IsRepairedAfterALoss(const ServiceProcess& service)
    {
        const int before = Requests(service);
        service.Command({{"command", "disconnect"}});
        return Eventually([&] { return Requests(service) == before + 1; });
    }

    const TemporaryFolder folder;
};

}  // namespace pelacon::test
