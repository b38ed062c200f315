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

Outcome OutcomeOf(std::int32_t result, const ResultSentences& sentences = {})
{
    try {
        CheckResult(result, kBleStatusNoReply, "do it", sentences);
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
    EXPECT_THAT(refused.sentence, HasSubstr("The library refused"));
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

TEST(ParseCommand, AcceptsObjectsOnly)
{
    EXPECT_EQ(ParseCommand(R"({"command": "status"})").at("command"), "status");
    for (const char* text : {"", "status", "[1]", "{\"command\"", "1"}) {
        EXPECT_THROW(ParseCommand(text), Failure) << text;
    }
}

}  // namespace

}  // namespace pelacon::ctl
