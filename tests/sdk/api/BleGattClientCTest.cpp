#include <PelaconSDK/BleGattClient.h>
#include <tests/sdk/GattIds.h>
#include <tests/support/SdkTest.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The C form: what it adds to the members.
class BleGattClientCTest : public SdkTest {
  protected:
    void ReplyToRead(const ByteVector& value, std::uint32_t dataLen, std::int32_t status)
    {
        channel.Reply(0xD7004E, ClientIds().Raw(value, 1024).Zeros(2).U32(dataLen).I32(status));
    }

    void ExpectRefused(const char* function)
    {
        EXPECT_THAT(channel.Requests(), IsEmpty()) << function;
        EXPECT_THAT(LogLines::All(), ElementsAre(Line(4, "invalid params", function)));
        ForgetWhatHappened();
    }
};

TEST_F(BleGattClientCTest, ForwardsWhatNeedsNoConversion)
{
    std::int32_t clientId = 0;
    channel.Reply(0xD70046, Bytes().I32(12).I32(0));
    EXPECT_EQ(BleGattClientRegister(&clientId), 0);
    EXPECT_EQ(clientId, 12);
    EXPECT_EQ(BleGattClientRegister(nullptr), -1);

    channel.Reply(0xD70047, Bytes().I32(2));
    EXPECT_EQ(BleGattClientUnRegister(kClient), 2);
    channel.Reply(0xD70049, Bytes().I32(3));
    EXPECT_EQ(BleGattClientDisconnect(kClient), 3);
    channel.Reply(0xD7004A, Bytes().I32(4));
    EXPECT_EQ(BleGattClientSearchServices(kClient), 4);

    std::int32_t mtu = 0;
    channel.Reply(0xD70053, Bytes().I32(185).I32(0));
    EXPECT_EQ(BleGattClientGetMtu(kClient, &mtu), 0);
    EXPECT_EQ(mtu, 185);
    EXPECT_EQ(BleGattClientGetMtu(kClient, nullptr), -1);

    const ByteVector client = Bytes().I32(kClient);
    EXPECT_THAT(channel.Requests(),
                ElementsAre(RequestIs(0xD70046, {}, 10000), RequestIs(0xD70047, client, 10000),
                            RequestIs(0xD70049, client, 10000), RequestIs(0xD7004A, client, 10000),
                            RequestIs(0xD70053, client, 10000)));

    EXPECT_EQ(BleGattClientConnect(kClient, 0x112233445566, nullptr), 0);
    EXPECT_THAT(channel.Posts(),
                ElementsAre(PostIs(0xD70048, Bytes().I32(kClient).Zeros(4).U64(0x112233445566))));
}

TEST_F(BleGattClientCTest, GetService)
{
    channel.Reply(0xD7004C, Bytes().I32(9));
    EXPECT_EQ(BleGattClientGetService(kClient, kService), 9);
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(0xD7004C, Bytes().I32(kClient).Text(kService, 37).Zeros(3), 10000));
    ForgetWhatHappened();
    EXPECT_EQ(BleGattClientGetService(kClient, kTooLong.c_str()), -10);
    EXPECT_THAT(channel.Requests(), IsEmpty());
}

TEST_F(BleGattClientCTest, RegisterNotification)
{
    channel.Reply(0xD70052, Bytes().I32(9));
    EXPECT_EQ(BleGattClientRegisterNotification(kClient, kService, kChar, true), 9);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70052, ClientIds().U8(1).Zeros(1), 10000));
}

TEST_F(BleGattClientCTest, NullTextsAreRefused)
{
    std::array<std::uint8_t, 1024> data{};
    std::uint32_t length = 5;
    EXPECT_EQ(BleGattClientGetService(kClient, nullptr), -1);
    ExpectRefused("BleGattClientGetService");
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, nullptr, kChar, data.data(), &length), -1);
    ExpectRefused("BleGattClientReadCharacteristic");
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, nullptr, data.data(), &length),
              -1);
    ExpectRefused("BleGattClientReadCharacteristic");
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, data.data(), nullptr), -1);
    ExpectRefused("BleGattClientReadCharacteristic");
    EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, nullptr, kChar, data.data(), 1), -1);
    ExpectRefused("BleGattClientWriteCharacteristic");
    EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, kService, nullptr, data.data(), 1), -1);
    ExpectRefused("BleGattClientWriteCharacteristic");
    EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, kService, kChar, nullptr, 1), -1);
    ExpectRefused("BleGattClientWriteCharacteristic");
    EXPECT_EQ(BleGattClientRegisterNotification(kClient, nullptr, kChar, true), -1);
    ExpectRefused("BleGattClientRegisterNotification");
    EXPECT_EQ(BleGattClientRegisterNotification(kClient, kService, nullptr, true), -1);
    ExpectRefused("BleGattClientRegisterNotification");
    EXPECT_EQ(length, 5U);
}

TEST_F(BleGattClientCTest, ReadCopiesWhatWasRead)
{
    for (const std::uint32_t length : {1U, 1023U, 1024U}) {
        std::array<std::uint8_t, 1025> data;
        data.fill(0xEE);
        std::uint32_t dataLen = 5;
        ReplyToRead(Counting(1024), length, 0);
        EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, data.data(), &dataLen),
                  0);
        EXPECT_EQ(dataLen, length);
        EXPECT_EQ(ByteVector(data.begin(), data.begin() + length), Counting(length));
        EXPECT_THAT(ByteVector(data.begin() + length, data.end()), Each(0xEE));
    }
}

TEST_F(BleGattClientCTest, ReadOfNothingTouchesNoBuffer)
{
    std::uint32_t dataLen = 5;
    ReplyToRead({}, 0, 0);
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, nullptr, &dataLen), 0);
    EXPECT_EQ(dataLen, 0U);
}

TEST_F(BleGattClientCTest, ReadReportsTheLengthWithoutABuffer)
{
    std::uint32_t dataLen = 5;
    ReplyToRead({1, 2}, 2, 0);
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, nullptr, &dataLen), -10);
    EXPECT_EQ(dataLen, 2U);
}

TEST_F(BleGattClientCTest, ReadReturnsTheStatusAlsoWithAValue)
{
    std::array<std::uint8_t, 1024> data{};
    std::uint32_t dataLen = 5;
    ReplyToRead({1, 2}, 2, 8);
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, data.data(), &dataLen), 8);
    EXPECT_EQ(dataLen, 2U);
    EXPECT_EQ(data[1], 2);
}

TEST_F(BleGattClientCTest, ReadOfATooLongValueGivesNone)
{
    std::array<std::uint8_t, 1024> data;
    data.fill(0xEE);
    std::uint32_t dataLen = 5;
    ReplyToRead(Counting(1024), 1025, 0);
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, data.data(), &dataLen), 0);
    EXPECT_EQ(dataLen, 0U);
    EXPECT_THAT(data, Each(0xEE));
}

TEST_F(BleGattClientCTest, ReadThatFailsGivesALengthOfZero)
{
    std::array<std::uint8_t, 1024> data{};
    std::uint32_t dataLen = 5;
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, data.data(), &dataLen), -9);
    EXPECT_EQ(dataLen, 0U);
    dataLen = 5;
    EXPECT_EQ(
        BleGattClientReadCharacteristic(kClient, kTooLong.c_str(), kChar, data.data(), &dataLen),
        -1);
    EXPECT_EQ(dataLen, 0U);
}

TEST_F(BleGattClientCTest, ReadZeroesTheBufferWhenTheCopyFails)
{
    std::array<std::uint8_t, 1024> data;
    data.fill(0xEE);
    std::uint32_t dataLen = 5;
    ReplyToRead({1, 2}, 2, 0);
    Copies::FailAfter(2);  // after the copies of the two UUIDs
    EXPECT_EQ(BleGattClientReadCharacteristic(kClient, kService, kChar, data.data(), &dataLen),
              -10);
    EXPECT_EQ(dataLen, 2U);
    EXPECT_THAT(data, Each(0));
}

TEST_F(BleGattClientCTest, WritesValuesOfEveryLength)
{
    channel.Reply(0xD70050, Bytes().I32(0));
    for (const std::uint32_t length : {0U, 1U, 1024U}) {
        // A copy of exactly that size, so that AddressSanitizer reports a read beyond it.
        const ByteVector value = Counting(length);
        EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, kService, kChar, value.data(), length),
                  0);
        EXPECT_THAT(channel.OnlyRequest(),
                    RequestIs(0xD70050, ClientIds().Raw(value, 1024).Zeros(2).U32(length), 10000));
        ForgetWhatHappened();
    }
}

TEST_F(BleGattClientCTest, WritesNothingFromNoBuffer)
{
    channel.Reply(0xD70050, Bytes().I32(0));
    EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, kService, kChar, nullptr, 0), 0);
    EXPECT_THAT(channel.OnlyRequest(), RequestIs(0xD70050, ClientIds().Zeros(1024 + 2 + 4), 10000));
}

TEST_F(BleGattClientCTest, WritesNoMoreThan1024Bytes)
{
    const ByteVector value = Counting(1025);
    EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, kService, kChar, value.data(), 1025), -1);
    // A length far beyond the buffer: the value is refused before it is read.
    EXPECT_EQ(BleGattClientWriteCharacteristic(kClient, kService, kChar, value.data(), 0xFFFFFFFF),
              -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_EQ(LogLines::All().back(),
              Line(4, "invalid params", "BleGattClient::BleGattClientWriteCharacteristic"));
}

}  // namespace

}  // namespace pelacon::test
