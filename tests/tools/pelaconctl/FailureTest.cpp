// Failures: their exit statuses and sentences.
#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/LibrarySession.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>

namespace pelacon::ctl {

namespace {

using ::testing::HasSubstr;

struct Outcome {
    ExitStatus status;
    std::string sentence;
};

Outcome OutcomeOf(std::int32_t result, const ResultSentences& sentences = {},
                  PelaconStatusFamily family = kPelaconStatusBle)
{
    try {
        CheckResult(family, result, "do it", sentences);
        return {ExitStatus::kDone, ""};
    } catch (const Failure& failure) {
        return {failure.Status(), failure.what()};
    }
}

TEST(Failure, ThereIsNoneForSuccess)
{
    EXPECT_EQ(OutcomeOf(0).status, ExitStatus::kDone);
}

TEST(Failure, ARefusalOfTheServiceHasAReason)
{
    const Outcome busy = OutcomeOf(protocol::kStatusBusy);
    EXPECT_EQ(busy.status, ExitStatus::kFailed);
    EXPECT_THAT(busy.sentence, HasSubstr("refused to do it: that is in progress already"));
    EXPECT_THAT(busy.sentence, HasSubstr("(code 3)"));
    EXPECT_THAT(OutcomeOf(4711).sentence, HasSubstr("(code 4711)"));
}

TEST(Failure, ARadioThatIsOffHasItsOwnStatus)
{
    EXPECT_EQ(OutcomeOf(protocol::kStatusRadioOff).status, ExitStatus::kAdapterOff);
}

TEST(Failure, AResultWithASentenceOfTheOperationSaysThatOnly)
{
    const ResultSentences sentences{{protocol::kStatusBusy, "It was done before."},
                                    {protocol::kStatusRadioOff, "Switch it on first."}};
    const Outcome busy = OutcomeOf(protocol::kStatusBusy, sentences);
    EXPECT_EQ(busy.status, ExitStatus::kFailed);
    EXPECT_EQ(busy.sentence, "It was done before.");
    const Outcome off = OutcomeOf(protocol::kStatusRadioOff, sentences);
    EXPECT_EQ(off.status, ExitStatus::kAdapterOff);
    EXPECT_EQ(off.sentence, "Switch it on first.");
    EXPECT_EQ(OutcomeOf(0, sentences).status, ExitStatus::kDone);
    EXPECT_THAT(OutcomeOf(4711, sentences).sentence, HasSubstr("(code 4711)"));
}

TEST(Failure, ARefusalOfTheLibraryNamesTheLibrary)
{
    const Outcome refused = OutcomeOf(kBleStatusFailed);
    EXPECT_EQ(refused.status, ExitStatus::kFailed);
    EXPECT_THAT(refused.sentence, HasSubstr("The library could not do it: an argument"));
}

TEST(Failure, ARefusalHasTheWordsOfItsFamily)
{
    EXPECT_THAT(OutcomeOf(kSoftApLimitReached, {}, kPelaconStatusSoftAp).sentence,
                HasSubstr("do it: the radio has no room for one (code 4)"));
    EXPECT_THAT(OutcomeOf(kWifiCopyFailed, {}, kPelaconStatusWifi).sentence,
                HasSubstr("The library could not do it: the data do not fit (code -16)"));
}

TEST(Failure, EachErrorOfAnOperatorsConnectionHasItsStatus)
{
    using Kind = IPCControlError::Kind;
    EXPECT_EQ(FailureOf({Kind::kNoService, ""}).Status(), ExitStatus::kNoService);
    EXPECT_EQ(FailureOf({Kind::kLost, "the connection was closed"}).Status(),
              ExitStatus::kNoService);
    EXPECT_EQ(FailureOf({Kind::kTimeout, ""}).Status(), ExitStatus::kNoAnswer);
    EXPECT_EQ(FailureOf({Kind::kNoAccess, "no trust"}).Status(), ExitStatus::kNotAllowed);
    const Failure refused = FailureOf({Kind::kRefused, "only root may"});
    EXPECT_EQ(refused.Status(), ExitStatus::kNotAllowed);
    EXPECT_STREQ(refused.what(), "Not allowed: only root may.");
}

TEST(ParseCommand, AcceptsObjectsAndNames)
{
    EXPECT_EQ(ParseCommand(R"({"command": "status"})").at("command"), "status");
    EXPECT_EQ(ParseCommand("fault.list"), (nlohmann::ordered_json{{"command", "fault.list"}}));
    for (const char* text : {"", "no json", "[1]", "{\"command\"", "1"}) {
        EXPECT_THROW(ParseCommand(text), Failure) << text;
    }
}

}  // namespace

}  // namespace pelacon::ctl
