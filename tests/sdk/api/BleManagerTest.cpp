#include <PelaconSDK/BleManager.h>
#include <tests/support/SdkTest.h>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

TEST_F(SdkTest, BtEnable)
{
    channel.Reply(0xD7005C, Bytes().I32(0));
    EXPECT_EQ(BleManager::BtEnable(), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD7005C, {}, 10000));
    EXPECT_THAT(LogLines::All(),
                ElementsAre(Start("BleManager::BtEnable"), End("BleManager::BtEnable")));
}

}  // namespace

}  // namespace pelacon::test
