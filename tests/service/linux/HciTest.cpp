#include <service/linux/bluetooth/Hci.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using bluetooth::AdvertisingReport;
using bluetooth::Hci;

class AnHciSocket : public LoopTest {
  protected:
    AnHciSocket()
    {
        Do([this] {
            hci = std::make_unique<Hci>(
                loop, std::move(sockets.service),
                [this](AdvertisingReport& report) { heard.push_back(report); },
                [this] {
                    ++lost;
                    hci.reset();
                });
        });
    }
    ~AnHciSocket() override
    {
        Do([this] { hci.reset(); });
    }

    SocketPair sockets;
    std::vector<AdvertisingReport> heard;
    int lost = 0;
    std::unique_ptr<Hci> hci;
};

TEST_F(AnHciSocket, DeliversReportsInOrder)
{
    sockets.Send(FromHex("043e150201000001000101aa000902010605ff34120a0b7f"));
    sockets.Send(FromHex("040f0400012020"));
    sockets.Send(FromHex("043e130201040001000101aa000706095241572d317f"));
    ASSERT_TRUE(Eventually([this] { return heard.size() == 2; }));
    EXPECT_EQ(heard[0].data, FromHex("02010605ff34120a0b"));
    EXPECT_EQ(heard[1].kind, AdvertisingReport::Kind::kScanResponse);
}

TEST_F(AnHciSocket, DeliversALongAdvertisementAsAWhole)
{
    sockets.Send(FromHex("043e1c0d01 2000010605040302c101000300d4 000000000000000000 02 0909"));
    sockets.Send(FromHex("043e1c0d01 0000010605040302c101000300d4 000000000000000000 02 6161"));
    ASSERT_TRUE(Eventually([this] { return !heard.empty(); }));
    EXPECT_EQ(heard.at(0).data, FromHex("09096161"));
}

TEST_F(AnHciSocket, ReportsOnceThatItsControllerIsRemoved)
{
    sockets.kernel.Close();
    EXPECT_TRUE(Eventually([this] { return lost == 1; }));
    EXPECT_EQ(Do([this] { return lost; }), 1);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
