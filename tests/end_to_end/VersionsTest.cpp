// A library that is older than the service.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace pelacon::test {

namespace {

TEST(OlderLibrary, DropsUnknownNotificationsAndReadsTheKnownFieldsOfLongerOnes)
{
    static auto& states = *new Mailbox<std::int32_t>;
    static BtManagerCallbacksC table{[](std::int32_t state) { states.Put(state); }};
    const ServiceProcess service;
    ASSERT_EQ(PelaconSvcStart(), 0);
    ASSERT_EQ(RegisterBtStateChangeCallbacks(&table), kBleStatusSuccess);
    service.Command({{"command", "notify"}, {"id", "0xD8FFFF"}, {"payload", "0102030405"}});
    service.Command(
        {{"command", "notify"}, {"id", "BtStateChanged"}, {"payload", "0300000001020304"}});
    EXPECT_EQ(states.Next(), 3);
    EXPECT_EQ(PelaconGetServiceState(), kPelaconServiceAvailable) << "the connection is kept";
    EXPECT_EQ(UnRegisterBtStateChangeCallbacks(&table), kBleStatusSuccess);
    PelaconSvcStop();
}

}  // namespace

}  // namespace pelacon::test
