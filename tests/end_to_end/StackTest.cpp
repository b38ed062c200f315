// Programs on a Bluetooth stack that is slow, refuses, or ends what it was doing.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>

namespace pelacon::test {

namespace {

using IdAndStatus = std::pair<std::int32_t, std::int32_t>;

Mailbox<IdAndStatus>& Silences()
{
    static auto& silences = *new Mailbox<IdAndStatus>;
    return silences;
}

Mailbox<IdAndStatus>& ScanStatuses()
{
    static auto& statuses = *new Mailbox<IdAndStatus>;
    return statuses;
}

BleAdvCallbacksC advTable{[](std::int32_t id, std::int32_t status) {
    Silences().Put({id, status});
}};
BleScanCallbacksC scanTable{[](std::int32_t id, std::int32_t status) {
                                ScanStatuses().Put({id, status});
                            },
                            nullptr};
BtGattServerCallbacksC serverTable{};

class SlowStack : public ::testing::Test {
  protected:
    SlowStack()
    {
        Silences().Clear();
        ScanStatuses().Clear();
        EXPECT_EQ(PelaconSvcStart(), 0);
    }
    ~SlowStack() override { PelaconSvcStop(); }

    void Behave(const std::string& operation, nlohmann::json how)
    {
        how["command"] = "stack.set";
        how["operation"] = operation;
        service.Command(how);
    }

    ServiceProcess service{R"({
        "adapter": {"name": "Desk", "turnOnMs": 1, "turnOffMs": 1},
        "stack": {"rename": {"ms": 1000}, "switch": {"fails": "blocked", "times": 1},
                  "advertise": {"fails": "limit-reached", "times": 1},
                  "scan": {"ms": 30, "endsAfterMs": 30},
                  "showService": {"fails": "not-permitted", "times": 1}}})"};
};

TEST_F(SlowStack, ANewNameIsReadAfterARenameThatTakesASecond)
{
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(BleManager::SetBtName("Sofa"), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
    std::string name;
    EXPECT_EQ(BleManager::GetBtName(name), 0);
    EXPECT_EQ(name, "Sofa");
}

TEST_F(SlowStack, ARefusedSwitchReturnsItsReason)
{
    EXPECT_EQ(BleManager::BtDisable(), 1);
    EXPECT_TRUE(BleManager::IsBtEnabled());
    Behave("switch", {{"fails", "not-permitted"}});
    EXPECT_EQ(BleManager::BtDisable(), 8);
    Behave("switch", {{"fails", "no-adapter"}});
    EXPECT_EQ(BleManager::BtDisable(), 10);
    EXPECT_TRUE(BleManager::IsBtEnabled());
}

TEST_F(SlowStack, AdvertisingThatEndsByItselfIsReported)
{
    int id = 0;
    ASSERT_EQ(BleAdvertiser::BleAdvRegisterCallbacks(&advTable, &id), 0);
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(id, {}, {}), 4) << "the limit is reached";
    EXPECT_EQ(BleAdvertiser::BleStartAdvertise(id, {}, {}), 0);
    EXPECT_EQ(service.Command({{"command", "stack.end"}, {"operation", "advertise"}}).at("ended"),
              1);
    EXPECT_EQ(Silences().Next(), IdAndStatus(id, kBleAdvRadioFailed));
    EXPECT_EQ(BleAdvertiser::BleAdvUnRegisterCallbacks(id), 0);
}

TEST_F(SlowStack, AScanThatStartsLateAndEndsByItselfIsReported)
{
    int id = 0;
    ASSERT_EQ(BleScanner::BleScanRegisterCallbacks(&scanTable, &id), 0);
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    EXPECT_EQ(ScanStatuses().Next(), IdAndStatus(id, kBleScanStarted));
    EXPECT_EQ(ScanStatuses().Next(), IdAndStatus(id, kBleScanRadioFailed));
    Behave("scan", {{"fails", "failed"}});
    EXPECT_EQ(BleScanner::StartBleScan(id, kBleScanLowLatency), 0);
    EXPECT_EQ(ScanStatuses().Next(), IdAndStatus(id, kBleScanRadioFailed));
    EXPECT_EQ(BleScanner::BleScanUnRegisterCallbacks(id), 0);
}

TEST_F(SlowStack, AServiceThatCannotBeShownIsRefused)
{
    std::int32_t server = 0;
    std::int32_t handle = 0;
    ASSERT_EQ(BleGattServer::BleGattServerRegister(&serverTable, &server), 0);
    ASSERT_EQ(BleGattServer::BleGattServerAddService(server, "180d", &handle), 0);
    EXPECT_EQ(BleGattServer::BleGattServerStartService(server, handle), 8);
    EXPECT_EQ(BleGattServer::BleGattServerStartService(server, handle), 0);
    EXPECT_EQ(BleGattServer::BleGattServerUnRegister(server), 0);
}

}  // namespace

}  // namespace pelacon::test
