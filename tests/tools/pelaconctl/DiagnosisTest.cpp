// What the doctor says of what it finds.
#include <tools/pelaconctl/Diagnosis.h>

#include <gmock/gmock.h>

#include <filesystem>

namespace pelacon::ctl {

namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using State = IPCPlace::State;

IPCPlace Place(State state, const std::string& reason = "")
{
    return {"/run/p.sock", state, reason, 7, "0"};
}

TEST(Diagnosis, PlacesSayWhoListensOrWhatTheSystemSaid)
{
    EXPECT_THAT(PlaceText(Place(State::kServed)), HasSubstr("process 7 of"));
    EXPECT_EQ(PlaceText(Place(State::kNoService, "No such file")),
              "no service listens here (No such file)");
    EXPECT_THAT(PlaceText(Place(State::kUntrusted)), HasSubstr("not trusted"));
    EXPECT_EQ(PlaceText(Place(State::kForbidden, "Permission denied")),
              "this user may not connect (Permission denied)");
}

TEST(Diagnosis, TheVerdictNamesTheWorstAndWhatToDo)
{
    EXPECT_EQ(Judge({Place(State::kNoService), Place(State::kServed)}).status, ExitStatus::kDone);
    const Verdict none = Judge({Place(State::kNoService), Place(State::kNoService)});
    EXPECT_EQ(none.status, ExitStatus::kNoService);
    EXPECT_THAT(none.sentence, AllOf(HasSubstr("is not running"), HasSubstr("start it")));
    const Verdict forbidden = Judge({Place(State::kForbidden), Place(State::kNoService)});
    EXPECT_EQ(forbidden.status, ExitStatus::kNotAllowed);
    EXPECT_THAT(forbidden.sentence, AllOf(HasSubstr("/run/p.sock"), HasSubstr("join the group")));
    EXPECT_EQ(Judge({Place(State::kUntrusted)}).status, ExitStatus::kNotAllowed);
    EXPECT_EQ(Judge({Place(State::kSilent)}).status, ExitStatus::kNoAnswer);
    const Verdict turnedAway = Judge({Place(State::kTurnedAway)});
    EXPECT_EQ(turnedAway.status, ExitStatus::kNotAllowed);
    EXPECT_THAT(turnedAway.sentence, HasSubstr("turns this user away"));
}

TEST(Diagnosis, RemarksNameWrongPathsAndVersions)
{
    const std::string here = std::filesystem::current_path().string();
    EXPECT_THAT(Remarks({here, true, here}, "1.2.3", "1.2.0-4-gabc"), IsEmpty());
    EXPECT_THAT(Remarks({here, true, ""}, "1.2.3", ""), IsEmpty());
    EXPECT_THAT(Remarks({"/no/prefix/PelaconService", false, ""}, "1.2.3", ""),
                ElementsAre(HasSubstr("/no/prefix/PelaconService, where there is no file")));
    const std::string other =
        (std::filesystem::current_path().root_path() / "other" / "PelaconService").string();
    EXPECT_THAT(Remarks({here, true, other}, "1.2.3", ""),
                ElementsAre(HasSubstr("The service that runs is " + other)));
    EXPECT_THAT(Remarks({here, true, here}, "1.2.3", "1.3.0"),
                ElementsAre(AllOf(HasSubstr("1.2.3"), HasSubstr("1.3.0"))));
}

}  // namespace

}  // namespace pelacon::ctl
