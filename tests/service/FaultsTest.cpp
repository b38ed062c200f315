#include <service/core/Faults.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

constexpr std::int32_t kBtEnable = 0xD7005C;
constexpr std::int32_t kBtDisable = 0xD7005D;

FaultConfig Fault(const std::string& text)
{
    const json::Document document = json::Parse(text, "fault");
    return json::Reader(document).Object(&ReadFault);
}

/// Which of this many requests a fault affects, as digits.
std::string Pattern(Faults& faults, int requests, std::int32_t id = kBtEnable)
{
    std::string pattern;
    for (int i = 0; i < requests; ++i) {
        pattern += faults.Judge(id, 0).fault ? '1' : '0';
    }
    return pattern;
}

TEST(FaultsTest, MatchesRequestsByName)
{
    Faults faults(1);
    EXPECT_TRUE(faults.IsEmpty());
    faults.Add(Fault(R"({"request": "BtEnable", "do": "never"})"));
    EXPECT_FALSE(faults.IsEmpty());
    EXPECT_EQ(faults.Judge(kBtEnable, 0).fault->kind, FaultKind::kNever);
    EXPECT_FALSE(faults.Judge(kBtDisable, 0).fault);
}

TEST(FaultsTest, MatchesRequestsByIdEvenUnknownOnes)
{
    Faults faults(1);
    faults.Add(Fault(R"({"request": "0xD7EEEE", "do": "empty"})"));
    EXPECT_TRUE(faults.Judge(0xD7EEEE, 3).fault);
    EXPECT_FALSE(faults.Judge(kBtEnable, 0).fault);
}

TEST(FaultsTest, MatchesTwoOperationsWithOneIdByName)
{
    Faults faults(1);
    faults.Add(Fault(R"({"request": "Vod2dGetIfaceCoexistCap", "do": "never"})"));
    EXPECT_TRUE(faults.Judge(0xD7007D, 0).fault);
    EXPECT_FALSE(faults.Judge(0xD7007D, 4).fault);
    faults.Add(Fault(R"({"request": "0xD7007D", "do": "empty"})"));
    EXPECT_EQ(faults.Judge(0xD7007D, 4).fault->kind, FaultKind::kEmpty);
}

TEST(FaultsTest, CountsMatchingRequests)
{
    Faults faults(1);
    faults.Add(Fault(R"({"request": "BtEnable", "do": "never", "after": 2, "times": 3})"));
    EXPECT_EQ(Pattern(faults, 1, kBtDisable), "0");
    EXPECT_EQ(Pattern(faults, 8), "00111000");
    EXPECT_TRUE(faults.IsEmpty()) << "the fault's times are used up";
}

TEST(FaultsTest, AProbabilityRepeatsWithItsSeed)
{
    const auto pattern = [](std::uint64_t seed, const char* fault) {
        Faults faults(seed);
        faults.Add(Fault(fault));
        return Pattern(faults, 64);
    };
    constexpr const char* kHalf = R"({"request": "any", "do": "never", "probability": 0.5})";
    constexpr const char* kOwnSeed =
        R"({"request": "any", "do": "never", "probability": 0.5, "seed": 3})";
    const std::string first = pattern(7, kHalf);
    EXPECT_EQ(first, pattern(7, kHalf));
    EXPECT_NE(first, pattern(8, kHalf));
    EXPECT_NE(first.find('0'), std::string::npos);
    EXPECT_NE(first.find('1'), std::string::npos);
    EXPECT_EQ(pattern(7, kOwnSeed), pattern(8, kOwnSeed));
}

TEST(FaultsTest, OtherFaultsDoNotChangeAProbability)
{
    Faults alone(7);
    alone.Add(Fault(R"({"request": "BtEnable", "do": "never", "probability": 0.5})"));
    Faults together(7);
    together.Add(Fault(R"({"request": "BtEnable", "do": "never", "probability": 0.5})"));
    together.Add(Fault(R"({"request": "BtDisable", "do": "never", "probability": 0.5})"));
    std::string interleaved;
    for (int i = 0; i < 64; ++i) {
        together.Judge(kBtDisable, 0);
        interleaved += together.Judge(kBtEnable, 0).fault ? '1' : '0';
    }
    EXPECT_EQ(Pattern(alone, 64), interleaved);
}

TEST(FaultsTest, DelaysAddUpAndTheFirstOtherFaultDecides)
{
    Faults faults(1);
    faults.Add(Fault(R"({"request": "any", "do": "delay", "ms": 5})"));
    faults.Add(Fault(R"({"request": "BtEnable", "do": "delay", "ms": 7})"));
    faults.Add(Fault(R"({"request": "BtEnable", "do": "status", "status": 3, "ms": 11})"));
    faults.Add(Fault(R"({"request": "any", "do": "never", "ms": 1000})"));
    const FaultVerdict verdict = faults.Judge(kBtEnable, 0);
    EXPECT_EQ(verdict.delay, 23ms);
    EXPECT_EQ(verdict.fault->kind, FaultKind::kStatus);
    EXPECT_EQ(verdict.fault->status, 3);
}

TEST(FaultsTest, RemovedFaultsHaveNoEffect)
{
    Faults faults(1);
    const auto first = faults.Add(Fault(R"({"request": "any", "do": "never"})"));
    const auto second = faults.Add(Fault(R"({"request": "any", "do": "empty"})"));
    EXPECT_NE(first, second);
    EXPECT_TRUE(faults.Remove(first));
    EXPECT_FALSE(faults.Remove(first));
    EXPECT_EQ(faults.Judge(kBtEnable, 0).fault->kind, FaultKind::kEmpty);
    faults.Clear();
    EXPECT_TRUE(faults.IsEmpty());
    EXPECT_GT(faults.Add(Fault(R"({"request": "any", "do": "never"})")), second);
}

TEST(FaultsTest, AStatusIsWrittenAtItsPlaceInTheReply)
{
    const auto reply = [](const char* name) {
        return ReplyWithStatus(protocol::FindByName(name), 0x01020304);
    };
    EXPECT_EQ(reply("BtEnable"), (std::vector<std::uint8_t>{4, 3, 2, 1}));
    EXPECT_EQ(reply("BleScanRegisterCallbacks"),
              (std::vector<std::uint8_t>{0, 0, 0, 0, 4, 3, 2, 1}));
    EXPECT_EQ(reply("IsBtEnabled"), (std::vector<std::uint8_t>{4}));
    const auto info = reply("GetBtMacAndName");
    ASSERT_TRUE(info);
    EXPECT_EQ(info->size(), 76U);
    EXPECT_EQ((*info)[72], 4);
    EXPECT_EQ(reply("GetSSID"), std::nullopt);
    EXPECT_EQ(ReplyWithStatus(nullptr, 1), std::nullopt);
}

TEST(FaultsTest, AStatusForAnyRequestSkipsRepliesWithoutOne)
{
    Faults faults(1);
    faults.Add(Fault(R"({"request": "any", "do": "status", "status": 4, "times": 1})"));
    EXPECT_FALSE(faults.Judge(0xD70024, 0).fault) << "GetSSID answers with text";
    EXPECT_FALSE(faults.Judge(0xD7EEEE, 0).fault) << "an unknown request";
    EXPECT_TRUE(faults.Judge(kBtEnable, 0).fault);
    EXPECT_THROW(Fault(R"({"request": "GetSSID", "do": "status", "status": 4})"), json::Error);
}

TEST(FaultsTest, IsDescribedForOperators)
{
    Faults faults(1);
    faults.Add(Fault(
        R"({"request": "BtEnable", "do": "status", "status": 3, "ms": 5, "after": 1, "times": 9,
            "probability": 0.25})"));
    faults.Add(Fault(R"({"request": "any", "do": "never", "perform": true})"));
    faults.Judge(kBtEnable, 0);
    const auto list = nlohmann::json::parse(json::Write(faults.Describe()));
    EXPECT_EQ(list[0], nlohmann::json::parse(
                           R"({"number": 1, "request": "BtEnable", "do": "status", "status": 3,
                               "ms": 5, "after": 1, "times": 9, "probability": 0.25,
                               "matched": 1, "hits": 0})"));
    EXPECT_EQ(list[1]["perform"], true);
    EXPECT_EQ(list[1]["hits"], 1);
}

}  // namespace
}  // namespace pelacon::service::tests
