// The fixture of tests of the callbacks for the group and its stations.
#pragma once

#include <PelaconSDK/Vod2dApi.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/sdk/Vod2dIds.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::test {

inline constexpr std::int32_t kConnectionChange = 0xD80039;

inline constexpr auto kStations = "IPCMessageSender::SoftAPConnectionStateChangeCallBack";

inline ByteVector GroupChange(std::int32_t state, std::int32_t reason = 0)
{
    return Bytes().I32(state).I32(reason);
}

inline ByteVector Station(std::int32_t state, const std::string& address,
                          const std::string& ip = "")
{
    return Bytes().I32(state).Text(address, 13).Text(ip, 16);
}

/// What was delivered, with the number of the table, as text.
inline std::vector<std::string>& Delivered()
{
    static auto& delivered = *new std::vector<std::string>;
    return delivered;
}

template <int Number>
void DeliverGroup(Vod2dGroupChange change)
{
    Delivered().push_back(std::to_string(Number) + ": group " + std::to_string(change.state) + ' ' +
                          std::to_string(change.reason));
}

template <std::size_t Size>
std::string FieldText(const char (&field)[Size])
{
    return {field, std::find(field, field + Size, '\0')};
}

template <int Number>
void DeliverStation(const Vod2dStationChange* change)
{
    Delivered().push_back(std::to_string(Number) + ": station " + std::to_string(change->state) +
                          ' ' + FieldText(change->address) + ' ' + FieldText(change->ipAddress));
}

/// The started library without groups, stations and tables.
class GroupFixture : public SdkTest {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        channel.Deliver(kGroupsChange, GroupChange(0));  // no time-out remains from an earlier test
        channel.Reply(kRegister, Bytes().I32(0));
        channel.Reply(kUnregister, Bytes().I32(0));
        Delivered().clear();
        ForgetWhatHappened();
    }

    void TearDown() override
    {
        Registry<GroupCallbacks>().WifiExceptCallback();  // no station remains for later tests
        channel.Reply(kUnregister, Bytes().I32(0));
        for (Vod2dWifiBroadcastRecvCb* table : registered_) {
            Vod2dApi::Vod2dUnRegisterSoftAPStateChangedCallback(table);
        }
        SdkTest::TearDown();
    }

    Vod2dWifiBroadcastRecvCb& Register(void (*onGroup)(Vod2dGroupChange),
                                       void (*onStation)(const Vod2dStationChange*) = nullptr)
    {
        auto& table = Lasting<Vod2dWifiBroadcastRecvCb>({onGroup, onStation});
        EXPECT_EQ(Vod2dApi::Vod2dRegisterSoftAPStateChangedCallback(&table), 0);
        registered_.push_back(&table);
        ForgetWhatHappened();
        return table;
    }

    /// A creation that is not answered.
    void TimeOut()
    {
        Vod2dSoftAPInfo info{};
        EXPECT_EQ(Vod2dApi::Vod2dCreateGroup(&info), -12);
        Threads::WaitForAll();
        ForgetWhatHappened();
    }

  private:
    std::vector<Vod2dWifiBroadcastRecvCb*> registered_;
};

}  // namespace pelacon::test
