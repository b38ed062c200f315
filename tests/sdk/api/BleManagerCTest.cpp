// The C form where it differs from the class, and that it forwards where it does not.
#include <PelaconSDK/BleManager.h>
#include <tests/support/SdkTest.h>

#include <array>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::IsEmpty;

TEST_F(SdkTest, CFormsForward)
{
    channel.Reply(0xD7005C, Bytes().I32(1));
    channel.Reply(0xD7005D, Bytes().I32(2));
    channel.Reply(0xD7005E, Bytes().U8(1));
    channel.Reply(0xD70063, Bytes().I32(3));
    channel.Reply(0xD7005F, Bytes().U64(77).Text("name", 64).I32(4));
    channel.Reply(0xD700AA, Bytes().I32(5));
    channel.Reply(0xD7005A, Bytes().I32(6));
    BtInfo info{};
    BtManagerCallbacksC table{};
    EXPECT_EQ(BtEnable(), 1);
    EXPECT_EQ(BtDisable(), 2);
    EXPECT_TRUE(IsBtEnabled());
    EXPECT_EQ(GetBtRunningState(), 3);
    EXPECT_EQ(GetBtMacAndName(&info), 4);
    EXPECT_EQ(info.mac, 77U);
    EXPECT_EQ(IsDeviceConnected(9, kBluetoothLe), 5);
    EXPECT_EQ(channel.Requests().back().payload, ByteVector(Bytes().I32(1).Zeros(4).U64(9)));
    EXPECT_EQ(RegisterBtStateChangeCallbacks(&table), 6);
    EXPECT_EQ(UnRegisterBtStateChangeCallbacks(&table), 0);
    EXPECT_EQ(LogLines::All().front(), Start("BleManager::BtEnable")) << "no line of their own";
    EXPECT_EQ(LogLines::All().size(), 16U);
}

TEST_F(SdkTest, CFormOfSetBtNameSendsExactlyTheGivenLength)
{
    channel.Reply(0xD70060, Bytes().I32(0));
    EXPECT_EQ(SetBtName("abcdef", 3), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70060, Bytes().Text("abc").U8(0), 10000));
    channel.ForgetSent();
    EXPECT_EQ(SetBtName("a\0c", 3), 0);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(0xD70060, Bytes().Text(std::string_view("a\0c", 3)).U8(0), 10000));
    channel.ForgetSent();
    EXPECT_EQ(SetBtName("abc", 0), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70060, Bytes().U8(0), 10000));
}

TEST_F(SdkTest, CFormOfSetBtNameReturnsTheResult)
{
    channel.Reply(0xD70060, Bytes().I32(31));
    EXPECT_EQ(SetBtName("abc", 3), 31);
    channel.ReplyNothing(0xD70060);
    EXPECT_EQ(SetBtName("abc", 3), -9);
    channel.ForgetSent();
    const std::string tooLong(65, 'x');
    EXPECT_EQ(SetBtName(tooLong.data(), 65), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(SdkTest, CFormOfSetBtNameRefusesNullAndNegativeLengths)
{
    EXPECT_EQ(SetBtName(nullptr, 3), -1);
    EXPECT_EQ(SetBtName(nullptr, 0), -1);
    EXPECT_EQ(SetBtName("abc", -1), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

class CFormOfGetBtName : public SdkTest {
  protected:
    /// The buffer's bytes after the call; 0xEE where nothing was written.
    BleStatusC Call(std::int32_t size)
    {
        buffer.fill(0xEE);
        size_ = size;
        const BleStatusC status = GetBtName(buffer.data(), &size_);
        EXPECT_EQ(size_, size) << "the size is not written back";
        return status;
    }

    void AnswerWith(const std::string& name, std::int32_t status = 0)
    {
        channel.Reply(0xD70061, Bytes().Text(name, 64).I32(status));
    }

    std::string Written() const
    {
        std::size_t count = buffer.size();
        while (count > 0 && buffer[count - 1] == 0xEE) {
            --count;
        }
        return {buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count)};
    }

    std::array<std::uint8_t, 70> buffer{};

  private:
    std::int32_t size_ = 0;
};

TEST_F(CFormOfGetBtName, CopiesTheBytesWithoutANul)
{
    AnswerWith("garden");
    EXPECT_EQ(Call(64), 0);
    EXPECT_EQ(Written(), "garden");
    EXPECT_EQ(Call(6), 0) << "a buffer of just that size";
    EXPECT_EQ(Written(), "garden");
    AnswerWith(std::string(64, 'g'));
    EXPECT_EQ(Call(64), 0);
    EXPECT_EQ(Written(), std::string(64, 'g'));
}

TEST_F(CFormOfGetBtName, RefusesANameThatDoesNotFit)
{
    AnswerWith("garden");
    EXPECT_EQ(Call(5), -10000);
    EXPECT_EQ(Written(), "");
    EXPECT_EQ(Call(0), -10000);
    EXPECT_EQ(Call(-1), -10000);
    EXPECT_EQ(Written(), "");
}

TEST_F(CFormOfGetBtName, RefusesNull)
{
    AnswerWith("garden");
    std::int32_t size = 64;
    EXPECT_EQ(GetBtName(nullptr, &size), -10000);
    EXPECT_EQ(GetBtName(buffer.data(), nullptr), -10000);
    EXPECT_EQ(channel.Requests().size(), 2U) << "found out after the request";
}

TEST_F(CFormOfGetBtName, WritesNothingForAnEmptyName)
{
    AnswerWith("");
    EXPECT_EQ(Call(0), 0);
    EXPECT_EQ(Written(), "");
    EXPECT_EQ(GetBtName(nullptr, nullptr), 0);
}

TEST_F(CFormOfGetBtName, ReturnsAnotherResultUnchanged)
{
    AnswerWith("garden", 12);
    EXPECT_EQ(Call(64), 12);
    EXPECT_EQ(Written(), "");
    channel.ReplyNothing(0xD70061);
    EXPECT_EQ(Call(64), -9);
    EXPECT_EQ(GetBtName(nullptr, nullptr), -9);
}

TEST_F(CFormOfGetBtName, FailsWhenItsCopyFails)
{
    AnswerWith("garden");
    Copies::FailNext();
    EXPECT_EQ(Call(64), -10000);
}

}  // namespace

}  // namespace pelacon::test
