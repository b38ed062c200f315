#include <service/linux/wifi/Rfkill.h>
#include <tests/service/linux/SocketPair.h>

#include <gmock/gmock.h>
#include <linux/rfkill.h>

#include <cerrno>
#include <optional>

namespace pelacon::service::linux_radios::tests {

namespace {

using testing::ElementsAre;
using wifi::Rfkill;
using Block = Rfkill::Block;

std::vector<std::uint8_t> Event(std::uint8_t number, std::uint8_t operation, std::uint8_t soft,
                                std::uint8_t hard, std::uint8_t type = RFKILL_TYPE_WLAN)
{
    return {number, 0, 0, 0, type, operation, soft, hard};
}

class TheSwitches : public LoopTest {
  protected:
    ~TheSwitches() override
    {
        Do([this] { rfkill.reset(); });
    }

    void Start()
    {
        Do([this] {
            rfkill = std::make_unique<Rfkill>(
                loop,
                wifi::RfkillAccess{std::move(sockets.service), true,
                                   [](std::uint32_t number) {
                                       return number == 9 ? std::nullopt : std::optional(number);
                                   }},
                [this] { ++changes; });
        });
    }
    Block BlockOf(std::uint32_t card)
    {
        return Do([&] { return rfkill->BlockOf(card); });
    }
    bool Changes(int times)
    {
        return Eventually([&] { return changes == times; });
    }

    SocketPair sockets;
    int changes = 0;
    std::unique_ptr<Rfkill> rfkill;
};

TEST_F(TheSwitches, AreKnownAtOnce)
{
    sockets.Send(Event(1, RFKILL_OP_ADD, 1, 0));
    sockets.Send(Event(2, RFKILL_OP_ADD, 0, 1));
    sockets.Send(Event(3, RFKILL_OP_ADD, 1, 1, RFKILL_TYPE_BLUETOOTH));
    Start();
    EXPECT_EQ(changes, 0);
    EXPECT_EQ(BlockOf(1), Block::kSoft);
    EXPECT_EQ(BlockOf(2), Block::kHard);
    EXPECT_EQ(BlockOf(3), Block::kNone) << "a switch of Bluetooth";
}

TEST_F(TheSwitches, AreFollowed)
{
    sockets.Send(Event(1, RFKILL_OP_ADD, 1, 0));
    Start();
    sockets.Send(Event(1, RFKILL_OP_CHANGE, 0, 0));
    ASSERT_TRUE(Changes(1));
    EXPECT_EQ(BlockOf(1), Block::kNone);
    sockets.Send(Event(1, RFKILL_OP_CHANGE, 1, 1));
    ASSERT_TRUE(Changes(2));
    EXPECT_EQ(BlockOf(1), Block::kHard);
    sockets.Send(Event(1, RFKILL_OP_DEL, 1, 1));
    ASSERT_TRUE(Changes(3));
    EXPECT_EQ(BlockOf(1), Block::kNone);
}

TEST_F(TheSwitches, OfTheMachineBlockEachCard)
{
    sockets.Send(Event(1, RFKILL_OP_ADD, 0, 0));
    sockets.Send(Event(9, RFKILL_OP_ADD, 0, 1));
    Start();
    EXPECT_EQ(BlockOf(1), Block::kHard);
    EXPECT_EQ(BlockOf(2), Block::kHard);
}

TEST_F(TheSwitches, AreSetTogether)
{
    Start();
    EXPECT_EQ(Do([this] { return rfkill->Switch(false); }), 0);
    EXPECT_THAT(sockets.Receive(),
                ElementsAre(0, 0, 0, 0, RFKILL_TYPE_WLAN, RFKILL_OP_CHANGE_ALL, 1, 0));
    EXPECT_EQ(Do([this] { return rfkill->Switch(true); }), 0);
    EXPECT_EQ(sockets.Receive().at(6), 0);
}

TEST(NoSwitches, BlockNothing)
{
    Loop loop([](std::string_view) {});
    const Rfkill rfkill(loop, {FileDescriptor(), false, {}}, [] {});
    EXPECT_EQ(rfkill.BlockOf(0), Block::kNone);
    EXPECT_FALSE(rfkill.CanSwitch());
    EXPECT_EQ(rfkill.Switch(true), EBADF);
    loop.Stop();
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
