// The requests of the library to a service that announces its start, as the service counts them.
#pragma once

#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/ServiceProcess.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <string>

namespace pelacon::test {

/// The library is connected to a service that does not run from the path where it was installed.
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

    /// Closes the event connection; the service announces its start when the library has connected
    /// again. Whether the library then sends its repair request, the only one as nothing is
    /// registered.
    static bool IsRepairedAfterALoss(const ServiceProcess& service)
    {
        const int before = Requests(service);
        service.Command({{"command", "disconnect"}});
        return Eventually([&] { return Requests(service) == before + 1; });
    }

    const TemporaryFolder folder;
};

}  // namespace pelacon::test
