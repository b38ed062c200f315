#include <PelaconSDK/BleGattClient.h>
#include <PelaconSDK/BleGattServer.h>
#include <tests/sdk/api/GattOperation.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

namespace pelacon::test {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

/// The lines of one call: "start", those before the request, and `then`.
std::vector<LogLine> LinesOf(const GattOperation& operation, std::vector<LogLine> then)
{
    std::vector<LogLine> lines{Start(operation.Function())};
    for (const LogLine& line : operation.linesBeforeRequest) {
        lines.push_back(Line(line.level, line.text, operation.Function()));
    }
    lines.insert(lines.end(), then.begin(), then.end());
    return lines;
}

}  // namespace

TEST_P(GattOperationTest, SendsItsRequestAndReturnsTheStatus)
{
    const GattOperation& operation = GetParam();
    for (const std::int32_t status : {7, -3, 100000}) {
        ForgetWhatHappened();
        channel.Reply(operation.id, operation.reply(status));
        EXPECT_EQ(operation.call(), status);
        EXPECT_THAT(channel.OnlyRequest(), RequestIs(operation.id, operation.payload, 10000));
        std::vector<LogLine> then;
        for (const LogLine& line : operation.linesAfterReply) {
            then.push_back(Line(line.level, line.text, operation.Function()));
        }
        then.push_back(End(operation.Function()));
        EXPECT_EQ(LogLines::All(), LinesOf(operation, then));
        EXPECT_THAT(Events::All(), IsEmpty());
    }
}

TEST_P(GattOperationTest, ReturnsSuccess)
{
    channel.Reply(GetParam().id, GetParam().reply(0));
    EXPECT_EQ(GetParam().call(), 0);
}

TEST_P(GattOperationTest, LogsAMissingReply)
{
    const GattOperation& operation = GetParam();
    EXPECT_EQ(operation.call(), -9);
    std::vector<LogLine> then = operation.eventLines;
    then.push_back(NoReply(operation.Function()));
    EXPECT_EQ(LogLines::All(), LinesOf(operation, then));
    if (operation.event) {
        EXPECT_THAT(Events::All(), ElementsAre(*operation.event));
    } else {
        EXPECT_THAT(Events::All(), IsEmpty());
    }
}

TEST_P(StoppedGattOperationTest, IsRefused)
{
    const GattOperation& operation = GetParam();
    EXPECT_EQ(operation.call(), -1);
    EXPECT_THAT(channel.Requests(), IsEmpty());
    EXPECT_EQ(LogLines::All(), LinesOf(operation, {NotStarted()}));
    EXPECT_THAT(Events::All(), IsEmpty());
}

TEST_P(GattOperationTest, WaitsForTheOperationBefore)
{
    const GattOperation& operation = GetParam();
    channel.Reply(operation.id, operation.reply(7));
    ExpectWaits(
        channel, operation.className, [&] { EXPECT_EQ(operation.call(), 7); },
        "request " + Hex(operation.id));
}

void ExpectWaits(Channel& channel, const std::string& className,
                 const std::function<void()>& second, const std::string& sent)
{
    const bool isClient = className == "BleGattClient";
    const std::int32_t firstId = isClient ? 0xD7004A : 0xD70073;
    std::promise<void> firstWaits;
    std::promise<void> answerFirst;
    std::atomic<bool> isFirst{true};
    channel.Reply(firstId, Bytes().I32(7));
    channel.OnRequest(firstId, [&](const Sent&) {
        if (isFirst.exchange(false)) {
            firstWaits.set_value();
            answerFirst.get_future().wait();
            Journal::Note("first answered");
        }
    });
    std::thread first([&] {
        EXPECT_EQ(isClient ? BleGattClient::BleGattClientSearchServices(1)
                           : BleGattServer::BleGattServerStartService(1, 2),
                  7);
    });
    firstWaits.get_future().wait();
    std::future<void> secondEnds = std::async(std::launch::async, second);
    // An operation that does not wait ends within this time.
    EXPECT_EQ(secondEnds.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
    answerFirst.set_value();
    first.join();
    secondEnds.wait();

    std::vector<std::string> entries = Journal::Entries();
    std::erase_if(entries, [](const std::string& entry) { return entry.starts_with("log"); });
    EXPECT_THAT(entries, ElementsAre("request " + Hex(firstId), "first answered", sent));
}

}  // namespace pelacon::test
