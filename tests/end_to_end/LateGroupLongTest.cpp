// A late group with the full time-out of 20 s.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

Mailbox<std::int32_t>& States()
{
    static auto& states = *new Mailbox<std::int32_t>;
    return states;
}

TEST(LateGroupLong, IsRemovedByTheLibrary)
{
    const ServiceProcess service(
        R"({"group": {"removeMs": 1, "firstCreations": [{"ms": 21500}]}})");
    ASSERT_EQ(PelaconSvcStart(), 0);
    static Vod2dWifiBroadcastRecvCb table{
        [](Vod2dGroupChange change) { States().Put(change.state); }, nullptr};
    ASSERT_EQ(Vod2dRegisterSoftAPStateChangedCallback(&table), kWifiSuccess);
    const auto begin = std::chrono::steady_clock::now();
    Vod2dSoftAPInfo info{};
    EXPECT_EQ(Vod2dCreateGroup(&info), kWifiNoReply);
    const auto waited = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(waited, 20s);
    EXPECT_LT(waited, 21s);
    EXPECT_EQ(States().Next(), kVod2dGroupNone) << "the group itself is not reported";
    EXPECT_FALSE(service.Command({{"command", "status"}})["group"]["exists"].get<bool>());
    EXPECT_EQ(PelaconSvcStop(), 0);
}

}  // namespace

}  // namespace pelacon::test
