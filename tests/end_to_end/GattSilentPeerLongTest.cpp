// A device that does not answer requests.
#include <PelaconSDK/PelaconSDK.h>
#include <protocol/ServiceStatus.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace pelacon::test {

namespace {

constexpr auto kWorld = R"({"peripherals": [
    {"address": "C0:00:00:00:00:01", "gatt": {"connectMs": 1, "responseMs": 60000}}]})";

Mailbox<std::int32_t>& States()
{
    static auto& states = *new Mailbox<std::int32_t>;
    return states;
}

BtGattClientCallbacksC table{
    [](std::int32_t, std::int32_t state, std::int32_t) { States().Put(state); }, nullptr};

/// The service's time-out for the device ends before the library's time-out for the service.
TEST(GattSilentPeerLong, ARequestToASilentPeerEndsInTime)
{
    const ServiceProcess service(kWorld);
    ASSERT_EQ(PelaconSvcStart(), 0);
    std::int32_t id = 0;
    ASSERT_EQ(BleGattClient::BleGattClientRegister(&id), 0);
    ASSERT_EQ(BleGattClient::BleGattClientConnect(id, 0xC00000000001, &table), 0);
    ASSERT_EQ(States().Next(), kBleGattConnected);

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(BleGattClient::BleGattClientSearchServices(id),
              std::int32_t{protocol::kStatusPeerUnreachable});
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));

    std::vector<std::uint8_t> value{1};
    EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(id, "180d", "2a37", &value),
              std::int32_t{protocol::kStatusPeerUnreachable});
    EXPECT_TRUE(value.empty());

    std::int32_t mtu = 0;
    EXPECT_EQ(BleGattClient::BleGattClientGetMtu(id, &mtu), 0) << "the connection lasts";
    PelaconSvcStop();
}

}  // namespace

}  // namespace pelacon::test
