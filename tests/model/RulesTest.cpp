// The model finds what is wrong, a seed repeats a plan, and a plan that fails is made short.
#include <tests/model/Model.h>
#include <tests/model/Shrink.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace pelacon::test::model {

namespace {

using testing::HasSubstr;
using testing::Optional;

class RulesTest : public ::testing::Test {
  protected:
    /// A round with these results, in order of the threads of client 0.
    Model::Wrong Check(std::vector<Result> results, Disturbance disturbance = Disturbance::kNone)
    {
        Round round{{}, disturbance, 0};
        int thread = 0;
        for (Result& result : results) {
            result.step.thread = thread++;
            round.steps.push_back(result.step);
        }
        return model_.Check(round, results);
    }

    static Result Of(Operation operation, int argument, int status, std::string value = "")
    {
        return {{0, 0, operation, argument}, status, std::move(value)};
    }

    Model model_{"first"};
};

TEST_F(RulesTest, AnAnswerIsNotAnothers)
{
    EXPECT_FALSE(Check({Of(Operation::kGetFrequency, 6, 0, "2437")}));
    EXPECT_THAT(Check({Of(Operation::kGetFrequency, 6, 0, "2412")}),
                Optional(HasSubstr("another's")));
}

TEST_F(RulesTest, OnlyWhatIsDisturbedFails)
{
    EXPECT_FALSE(Check({Of(Operation::kGetName, 0, -9)}, Disturbance::kKill));
    EXPECT_TRUE(Check({Of(Operation::kGetName, 0, -9)}));
    EXPECT_TRUE(Check({Of(Operation::kGetName, 0, -9)}, Disturbance::kDelay));
    EXPECT_FALSE(Check({Of(Operation::kGetName, 0, -1), Of(Operation::kStopAndStart, 0, 0)}));
}

TEST_F(RulesTest, TheNameIsOneThatWasSet)
{
    EXPECT_FALSE(Check({Of(Operation::kGetName, 0, 0, "first")}));
    EXPECT_TRUE(Check({Of(Operation::kGetName, 0, 0, "name-1")}));
    EXPECT_FALSE(Check({Of(Operation::kSetName, 1, 0), Of(Operation::kSetName, 2, 0),
                        Of(Operation::kGetName, 0, 0, "first")}));
    EXPECT_FALSE(Check({Of(Operation::kGetName, 0, 0, "name-2")}));
    EXPECT_TRUE(Check({Of(Operation::kGetName, 0, 0, "name-1")})) << "it was 2 in between";
    EXPECT_FALSE(Check({Of(Operation::kSetName, 3, -9)}, Disturbance::kRestart));
    EXPECT_TRUE(Check({Of(Operation::kGetName, 0, 0, "name-2")}));
    EXPECT_FALSE(Check({Of(Operation::kGetName, 0, 0, "first")}));
}

TEST_F(RulesTest, AListenerLivesUntilItIsRemoved)
{
    EXPECT_TRUE(Check({Of(Operation::kRemoveListener, 0, 0)}));
    EXPECT_FALSE(Check({Of(Operation::kAddListener, 0, 0, "7")}));
    EXPECT_FALSE(Check({}, Disturbance::kKill));
    EXPECT_FALSE(Check({Of(Operation::kUseListener, 0, 0)}));
    EXPECT_TRUE(Check({Of(Operation::kUseListener, 0, 2)})) << "also after a restart";
    EXPECT_FALSE(Check({Of(Operation::kRemoveListener, 0, 0)}));
    EXPECT_TRUE(Check({Of(Operation::kUseListener, 0, 0)}));
    EXPECT_TRUE(Check({Of(Operation::kAddListener, 0, 0, "7")})) << "an id is used once";
}

TEST_F(RulesTest, ATableIsCalledWhileItIsRegistered)
{
    EXPECT_FALSE(Check({Of(Operation::kRegisterTable, 0, 0)}));
    EXPECT_FALSE(model_.CheckTables(0, {true, false, false}));
    EXPECT_TRUE(model_.CheckTables(0, {false, false, false}));
    EXPECT_TRUE(model_.CheckTables(1, {true, false, false}));
    EXPECT_FALSE(Check({Of(Operation::kUnregisterTable, 0, 0)}));
    EXPECT_TRUE(model_.CheckTables(0, {true, false, false}));
}

TEST(PlanTest, ASeedRepeatsAPlan)
{
    EXPECT_EQ(TextOf(MakePlan(5, 20)), TextOf(MakePlan(5, 20)));
    EXPECT_NE(TextOf(MakePlan(5, 20)), TextOf(MakePlan(6, 20)));
}

TEST(PlanTest, OneThatFailsIsMadeShort)
{
    // Fails where the name is set before the service is killed.
    const auto fails = [](const Plan& plan) {
        bool isSet = false;
        for (const Round& round : plan) {
            if (isSet && round.disturbance == Disturbance::kKill) {
                return true;
            }
            isSet =
                isSet || std::any_of(round.steps.begin(), round.steps.end(), [](const Step& step) {
                    return step.operation == Operation::kSetName;
                });
        }
        return false;
    };
    const Plan plan = MakePlan(1, 100);
    ASSERT_TRUE(fails(plan));
    const Plan shortest = Shrink(plan, 1000, fails);
    ASSERT_EQ(shortest.size(), 2U) << TextOf(shortest);
    EXPECT_EQ(shortest[0].steps.size(), 1U);
    EXPECT_EQ(shortest[0].disturbance, Disturbance::kNone);
    EXPECT_TRUE(shortest[1].steps.empty());
    EXPECT_EQ(Shrink(plan, 0, fails).size(), plan.size()) << "no more runs than allowed";
}

}  // namespace

}  // namespace pelacon::test::model
