// The table of the devices found by a scan.
#include <tests/support/Bytes.h>
#include <tools/pelaconctl/DeviceTable.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

using namespace std::chrono_literals;
using test::ByteVector;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using Change = DeviceTable::Change;
using Order = DeviceTable::Order;

const DeviceTable::Clock::time_point kNow{};

BleScanResultC Result(std::uint64_t address, std::int32_t rssi, const ByteVector& data,
                      std::int32_t eventType = kBleScanConnectable)
{
    BleScanResultC result{};
    result.address = address;
    result.rssi = rssi;
    result.eventType = eventType;
    result.dataLen = static_cast<std::uint32_t>(data.size());
    std::copy(data.begin(), data.end(), result.data);
    return result;
}

ByteVector Name(const std::string& name)
{
    ByteVector bytes{static_cast<std::uint8_t>(name.size() + 1), 9};
    bytes.insert(bytes.end(), name.begin(), name.end());
    return bytes;
}

class DeviceTableTest : public ::testing::Test {
  protected:
    std::vector<std::string> Lines(Order order = Order::kAddress, std::size_t width = 80,
                                   std::size_t height = 20) const
    {
        return table.Lines(console, order, kNow, width, height);
    }
    /// The last octets of the addresses, in the order of the lines.
    std::string Addresses(Order order) const
    {
        std::string octets;
        for (const std::string& line : Lines(order)) {
            octets += line.starts_with("00:") ? line.substr(15, 2) + " " : "";
        }
        return octets;
    }

    DeviceTable table;
    Console console;  // not a terminal: no colours
};

TEST_F(DeviceTableTest, HasAHeadingAndALineForEachDevice)
{
    table.Add(Result(0x1, -58, Name("Lamp")), kNow - 1500ms);
    table.Add(Result(0x1, -58, Name("Lamp")), kNow - 300ms);
    table.Add(Result(0x2, -101, {4, 0xFF, 0xFE, 0xCA, 0x07}), kNow - 12s);
    EXPECT_THAT(
        Lines(),
        ElementsAre(
            "ADDRESS            SIGNAL          NAME           DATA             COUNT     AGE",
            "00:00:00:00:00:01  ###..  -58 dBm  Lamp                                2   0.3 s",
            "00:00:00:00:00:02  ..... -101 dBm                 CAFE: 07             1    12 s"));
    EXPECT_EQ(table.Devices(), 2U);
    EXPECT_EQ(table.Results(), 3U);
}

TEST_F(DeviceTableTest, LinesAreCutToTheTerminalsWidth)
{
    table.Add(Result(0x1, -58, Name("a name that is rather long")), kNow);
    for (std::size_t width = 1; width < 200; ++width) {
        for (const std::string& line : Lines(Order::kAddress, width)) {
            ASSERT_EQ(line.size(), width);
        }
    }
}

TEST_F(DeviceTableTest, HasNoMoreLinesThanTheTerminal)
{
    for (std::uint64_t address = 0; address < 10; ++address) {
        table.Add(Result(address, -50, {}), kNow);
    }
    EXPECT_EQ(Lines(Order::kAddress, 80, 11).size(), 11U);
    EXPECT_THAT(Lines(Order::kAddress, 80, 11).back(), StartsWith("00:"));
    EXPECT_EQ(Lines(Order::kAddress, 80, 10).size(), 10U);
    EXPECT_THAT(Lines(Order::kAddress, 80, 10).back(), StartsWith("... and 2 more"));
    EXPECT_EQ(Lines(Order::kAddress, 80, 1).size(), 2U);
}

TEST_F(DeviceTableTest, SortsByEachOrder)
{
    table.Add(Result(0x1, -80, Name("b")), kNow);
    table.Add(Result(0x2, -50, {}), kNow);
    table.Add(Result(0x2, -50, {}), kNow);
    table.Add(Result(0x3, -65, Name("a")), kNow);
    EXPECT_EQ(Addresses(Order::kAddress), "01 02 03 ");
    EXPECT_EQ(Addresses(Order::kSignal), "02 03 01 ");
    EXPECT_EQ(Addresses(Order::kName), "03 01 02 ") << "those without a name come last";
    EXPECT_EQ(Addresses(Order::kCount), "02 01 03 ");
}

TEST_F(DeviceTableTest, SmoothsTheSignal)
{
    table.Add(Result(0x1, -50, {}), kNow);
    table.Add(Result(0x1, -100, {}), kNow);
    EXPECT_THAT(Lines()[1], HasSubstr("-60 dBm"));
    EXPECT_THAT(table.Line(0x1), EndsWith("-100 dBm"));
}

TEST_F(DeviceTableTest, AddReturnsWhatChanged)
{
    EXPECT_EQ(table.Add(Result(0x1, -50, {2, 1, 6}), kNow), Change::kNewDevice);
    EXPECT_EQ(table.Add(Result(0x1, -51, {2, 1, 6}), kNow), Change::kNone);
    EXPECT_EQ(table.Add(Result(0x1, -50, Name("x"), kBleScanResponse), kNow), Change::kNewData);
    EXPECT_EQ(table.Add(Result(0x1, -50, Name("x"), kBleScanResponse), kNow), Change::kNone);
    EXPECT_EQ(table.Add(Result(0x1, -50, {4, 0x16, 0x0F, 0x18, 1}), kNow), Change::kNewData);
    EXPECT_EQ(table.Add(Result(0x1, -50, Name("x"), kBleScanResponse), kNow), Change::kNone)
        << "a scan response does not take the advertisement's data away";
    EXPECT_EQ(table.Line(0x1), "00:00:00:00:00:01   -50 dBm  x  180F: 01");
    EXPECT_EQ(table.Add(Result(0x1, -50, {4, 0x16, 0x0F, 0x18, 2}), kNow), Change::kNewData);
    EXPECT_EQ(table.Add(Result(0x1, -50, {2, 1, 6}), kNow), Change::kNewData) << "without data";
}

TEST_F(DeviceTableTest, ReplacesControlCharactersInNames)
{
    table.Add(Result(0x1, -50, Name("a\033[2J\nb")), kNow);
    EXPECT_THAT(Lines()[1], HasSubstr("a?[2J?b"));
    EXPECT_THAT(table.Line(0x1), Not(HasSubstr("\033")));
}

TEST_F(DeviceTableTest, CutsDataLengthToTheField)
{
    BleScanResultC result = Result(0x1, -50, {});
    result.dataLen = 0xFFFFFFFF;
    EXPECT_EQ(table.Add(result, kNow), Change::kNewDevice);
}

TEST(SignalBar, HasFiveColumns)
{
    EXPECT_EQ(SignalBar(-127), ".....");
    EXPECT_EQ(SignalBar(-100), ".....");
    EXPECT_EQ(SignalBar(-90), "#....");
    EXPECT_EQ(SignalBar(-60), "###..");
    EXPECT_EQ(SignalBar(-30), "#####");
    EXPECT_EQ(SignalBar(20), "#####");
}

}  // namespace

}  // namespace pelacon::ctl
