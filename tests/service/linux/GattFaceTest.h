// The GATT roles as families see them, over a stand-in of bluetoothd with an adapter that is on.
#pragma once

#include <protocol/Uuid.h>
#include <tests/service/linux/FaceTest.h>
#include <tests/service/linux/Recorded.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace pelacon::service::linux_radios::tests {

using protocol::Uuid;

class GattFaceTest : public FaceTest {
  protected:
    GattFaceTest()
    {
        StartBluez();
        StartHost();
    }

    void AddDevice(const char* path = kDevicePath, const char* address = "C1:02:03:04:05:06")
    {
        bluetoothd->Do(
            {{"do", "device"}, {"path", path}, {"Address", address}, {"AddressType", "random"}});
    }
    void Change(const std::string& path, const char* property, const nlohmann::json& value)
    {
        bluetoothd->Do({{"do", "change"}, {"path", path}, {property, value}});
    }
    void Fail(const char* method, nlohmann::json fault)
    {
        fault.update({{"do", "fail"}, {"method", method}});
        bluetoothd->Do(fault);
    }
    /// Waits until bluetoothd was called. Sees each call once.
    bool IsCalled(const std::string& method)
    {
        return test::Eventually([&] {
            for (const nlohmann::json& call : bluetoothd->Do({{"do", "calls"}})) {
                calls.push_back(call.at(0));
            }
            return std::find(calls.begin(), calls.end(), method) != calls.end();
        });
    }

    static constexpr const char* kDevicePath = "hci0/dev_C1_02_03_04_05_06";
    static constexpr std::uint64_t kAddress = 0xC10203040506U;
    static inline const Uuid kHeartRate = *protocol::ParseUuid("180d");

    std::vector<std::string> calls;
};

}  // namespace pelacon::service::linux_radios::tests
