// The GATT roles as families see them, over a stand-in of bluetoothd with an adapter that is on.
#pragma once

#include <protocol/Uuid.h>
#include <tests/service/linux/FaceTest.h>
#include <tests/service/linux/Recorded.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

using protocol::Uuid;

class GattFaceTest : public FaceTest {
  protected:
    GattFaceTest()
    {
        StartBluez();
        StartHost();
    }

    void Fail(const char* method, nlohmann::json fault)
    {
        fault.update({{"do", "fail"}, {"method", method}});
        bluetoothd->Do(fault);
    }

    static inline const Uuid kHeartRate = *protocol::ParseUuid("180d");
};

}  // namespace pelacon::service::linux_radios::tests
