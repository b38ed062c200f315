#include <service/linux/bluetooth/Management.h>
#include <tests/service/linux/Recorded.h>
#include <tests/service/linux/SocketPair.h>

#include <gmock/gmock.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using namespace bluetooth;
using Status = ManagementStatus;
using testing::ElementsAre;

class AManagementSocket : public LoopTest {
  protected:
    struct Answer {
        int command;
        Status status;
        std::vector<std::uint8_t> parameters;
    };

    explicit AManagementSocket(std::chrono::milliseconds limit = Management::kLimit)
    {
        Do([&] {
            management = std::make_unique<Management>(
                loop, std::move(sockets.service),
                [this](const ManagementEvent& event) { events.push_back(event.code); },
                [this] {
                    ++lost;
                    management.reset();
                },
                limit);
        });
    }
    ~AManagementSocket() override
    {
        Do([this] { management.reset(); });
    }

    void Send(std::uint16_t command, std::vector<std::uint8_t> parameters = {})
    {
        Do([&] {
            management->Send(command, 1, std::move(parameters),
                             [this, command](Status status, std::span<const std::uint8_t> bytes) {
                                 answers.push_back({command, status, {bytes.begin(), bytes.end()}});
                             });
        });
    }

    SocketPair sockets;
    std::vector<std::uint16_t> events;
    std::vector<Answer> answers;
    int lost = 0;
    std::unique_ptr<Management> management;
};

TEST_F(AManagementSocket, SendsACommandAndDeliversItsReply)
{
    Send(kRemoveAdvertising, {5});
    EXPECT_EQ(sockets.Receive(), FromHex("3f00 0100 0100 05"));
    sockets.Send(FromHex("0100 0100 0400 3f00 00 05"));
    ASSERT_TRUE(Eventually([this] { return answers.size() == 1; }));
    EXPECT_EQ(answers[0].status, Status::kSuccess);
    EXPECT_EQ(answers[0].parameters, FromHex("05"));
}

TEST_F(AManagementSocket, SendsOneCommandAfterTheOther)
{
    Send(kRemoveAdvertising, {5});
    Send(kReadAdvertisingFeatures);
    EXPECT_EQ(sockets.Receive(), FromHex("3f00 0100 0100 05"));
    // Replies to others, and of other controllers, are not taken for it.
    sockets.Send(FromHex("0100 0100 0300 3d00 00"));
    sockets.Send(FromHex("0100 0000 0300 3f00 00"));
    sockets.Send(FromHex("0200 0100 0300 3f00 14"));
    EXPECT_EQ(sockets.Receive(), FromHex("3d00 0100 0000"));
    sockets.Send(FromHex("0100 0100 0b00 3d00 00 7ff00100 1f1f 05 00"));
    ASSERT_TRUE(Eventually([this] { return answers.size() == 2; }));
    EXPECT_EQ(answers[0].command, kRemoveAdvertising);
    EXPECT_EQ(answers[0].status, Status::kPermissionDenied);
    EXPECT_EQ(answers[1].command, kReadAdvertisingFeatures);
}

TEST_F(AManagementSocket, DeliversEvents)
{
    sockets.Send(FromHex("23000100010005"));
    sockets.Send(FromHex("2300"));
    sockets.Send(FromHex("23000100090005"));
    sockets.Send(FromHex("24000100010005"));
    ASSERT_TRUE(Eventually([this] { return events.size() == 2; }));
    EXPECT_THAT(events, ElementsAre(0x23, 0x24));
}

TEST_F(AManagementSocket, EndsRunningCommandsWhenItIsLost)
{
    Send(kReadAdvertisingFeatures);
    Send(kRemoveAdvertising, {1});
    sockets.Receive();
    sockets.kernel.Close();
    ASSERT_TRUE(Eventually([this] { return lost == 1; }));
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[0].status, Status::kNoReply);
    EXPECT_EQ(answers[1].status, Status::kNoReply);
}

/// Does not wait for replies.
class AnImpatientManagementSocket : public AManagementSocket {
  protected:
    AnImpatientManagementSocket() : AManagementSocket(std::chrono::milliseconds(50)) {}
};

TEST_F(AnImpatientManagementSocket, IsLostWithAReplyThatDoesNotCome)
{
    Send(kReadAdvertisingFeatures);
    Send(kReadAdvertisingFeatures);
    EXPECT_EQ(sockets.Receive(), FromHex("3d00 0100 0000"));
    // A late reply would be taken for that of the second command.
    ASSERT_TRUE(Eventually([this] { return lost == 1; }));
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[0].status, Status::kNoReply);
    EXPECT_EQ(answers[1].status, Status::kNoReply);
}

TEST_F(AManagementSocket, SendsWaitingCommandsWhenItEnds)
{
    Send(kReadAdvertisingFeatures);
    Send(kRemoveAdvertising, {1});
    sockets.Receive();
    Do([this] { management.reset(); });
    EXPECT_EQ(sockets.Receive(), FromHex("3f00 0100 0100 01"));
    EXPECT_TRUE(answers.empty());
}

TEST(ManagementBytes, AreDecoded)
{
    const auto features = DecodeAdvertisingFeatures(FromHex("7ff00100 1f1f 05 02 0504"));
    ASSERT_TRUE(features);
    EXPECT_EQ(features->flags, 0x1F07FU);
    EXPECT_EQ(features->mostData, 31);
    EXPECT_EQ(features->mostScanResponse, 31);
    EXPECT_EQ(features->mostInstances, 5);
    EXPECT_THAT(features->instances, ElementsAre(5, 4));
    EXPECT_FALSE(DecodeAdvertisingFeatures(FromHex("7ff00100 1f1f 05 02 05")));

    // Recorded with kernel 6.1, on either side of a connection.
    const auto byPeer = DecodeDeviceConnected(FromHex("00000001aa0001000000000000"));
    ASSERT_TRUE(byPeer);
    EXPECT_EQ(byPeer->address, 0x00AA01000000U);
    EXPECT_FALSE(byPeer->isByUs);
    const auto connected =
        DecodeDeviceConnected(FromHex("01000101aa000108000000090002010605ff34120a0b"));
    ASSERT_TRUE(connected);
    EXPECT_EQ(connected->address, 0x00AA01010001U);
    EXPECT_EQ(connected->type, AddressType::kPublic);
    EXPECT_TRUE(connected->isByUs);
    EXPECT_FALSE(DecodeDeviceConnected(FromHex("01000101aa00 01 080000")));

    const auto ended = DecodeDeviceDisconnected(FromHex("01000101aa00 02 03"));
    ASSERT_TRUE(ended);
    EXPECT_EQ(ended->type, AddressType::kRandom);
    EXPECT_EQ(ended->reason, DeviceDisconnected::Reason::kRemote);
    EXPECT_EQ(DecodeDeviceDisconnected(FromHex("01000101aa00 02 09"))->reason,
              DeviceDisconnected::Reason::kUnknown);
    EXPECT_FALSE(DecodeDeviceDisconnected(FromHex("01000101aa00 03 03")));
    EXPECT_FALSE(DecodeDeviceDisconnected(FromHex("01000101aa00 02")));
    EXPECT_FALSE(DecodeAdvertisingInstance({}));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
