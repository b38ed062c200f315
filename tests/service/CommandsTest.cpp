// Operators' commands, over a real pipe.
#include <os/Processes.h>
#include <protocol/BleManager.h>
#include <protocol/ErrorStatus.h>
#include <protocol/ServiceLink.h>
#include <tests/service/ServiceFixture.h>

#include <string>

namespace pelacon::service::tests {
namespace {

class CommandsTest : public ServiceTest {
  protected:
    CommandsTest() { StartService(); }

    std::string Complaint(const std::string& command)
    {
        const nlohmann::json answer = CommandText(command);
        EXPECT_EQ(answer["ok"], false) << command;
        return answer.value("error", "");
    }
};

TEST_F(CommandsTest, StatusDescribesTheService)
{
    TestClient one(PipeName());
    TestClient other(PipeName());
    one.Call(protocol::kRegisterBtStateChange);
    other.Call(protocol::kIsBtEnabled);
    other.CallRaw(0xD7EEEE, {});
    Command({{"command", "fault.add"},
             {"fault", {{"request", "BtEnable"}, {"do", "delay"}, {"ms", 1}}}});
    other.Call(protocol::kBtEnable);

    const nlohmann::json status = Command({{"command", "status"}});
    ASSERT_EQ(status["clients"].size(), 2U);
    EXPECT_EQ(status["clients"][0]["pid"], os::CurrentProcessId());
    EXPECT_NE(status["clients"][0]["client"], status["clients"][1]["client"]);
    EXPECT_GE(status["uptimeMs"], 0);
    EXPECT_EQ(status["pid"], os::CurrentProcessId());
    EXPECT_EQ(status["seed"], 1);
    EXPECT_EQ(status["world"], "world.json");
    EXPECT_EQ(status["counters"]["requests"], 4);
    EXPECT_EQ(status["counters"]["unknownRequests"], 1);
    EXPECT_EQ(status["faults"][0]["hits"], 1);
    EXPECT_EQ(status["adapter"]["state"], "on");
    EXPECT_EQ(status["adapter"]["listeners"], 1);
}

TEST_F(CommandsTest, AWordAloneIsACommand)
{
    EXPECT_EQ(CommandText("ping")["ok"], true);
    EXPECT_EQ(CommandText("fault.list")["faults"], nlohmann::json::array());
}

TEST_F(CommandsTest, HelpListsThemAll)
{
    const nlohmann::json commands = Command({{"command", "help"}})["commands"];
    for (const char* name :
         {"ping", "status", "restart", "fault.add", "fault.remove", "fault.list", "fault.clear",
          "notify", "flood", "malformed", "disconnect", "error"}) {
        EXPECT_TRUE(commands.contains(name)) << name;
    }
}

TEST_F(CommandsTest, InvalidCommandsAreRefusedWithAReason)
{
    EXPECT_EQ(Complaint("{}"), "command:1: the field \"command\" is missing");
    EXPECT_EQ(Complaint(R"({"command": "dance"})"),
              "command:1: command: there is no command \"dance\"; {\"command\": \"help\"} lists "
              "them");
    EXPECT_EQ(Complaint(R"({"command": "fault.add", "fault": {"request": "any"}})"),
              "command:1: fault: the field \"do\" is missing");
    EXPECT_EQ(Complaint(R"({"command": "fault.add",
                            "fault": {"request": "any", "do": "never"}, "extra": 1})"),
              "command:2: extra: unknown field; there may be command, fault");
    EXPECT_EQ(Complaint(R"({"command": "fault.remove", "number": 7})"),
              "there is no fault with this number");
    EXPECT_EQ(Complaint(R"({"command": "disconnect", "client": 99})"), "there is no such client");
    EXPECT_EQ(Complaint(R"({"command": "notify", "id": "Nonsense"})"),
              "command:1: id: must be a notification's name, or its id such as \"0xD80062\"");
    EXPECT_EQ(Complaint(R"({"command": "notify", "id": "BtStateChanged", "payload": "xy"})"),
              "command:1: payload: must be 0 to 65536 bytes in hexadecimal, such as \"02 01 06\"");
    EXPECT_TRUE(Complaint("what's this").starts_with("command:1: "));
    EXPECT_EQ(Command({{"command", "fault.list"}})["faults"].size(), 0U);
}

TEST_F(CommandsTest, FaultsAreAddedListedAndRemoved)
{
    const auto number = Command(
        {{"command", "fault.add"}, {"fault", {{"request", "any"}, {"do", "never"}}}})["number"];
    EXPECT_EQ(Command({{"command", "fault.list"}})["faults"][0]["number"], number);
    Command({{"command", "fault.remove"}, {"number", number}});
    EXPECT_EQ(Command({{"command", "fault.list"}})["faults"].size(), 0U);
}

TEST_F(CommandsTest, NotifySendsAnythingToOneOrAll)
{
    TestClient one(PipeName());
    one.Call(protocol::kIsBtEnabled);
    TestClient other(PipeName());
    other.Call(protocol::kIsBtEnabled);
    EXPECT_EQ(
        Command({{"command", "notify"}, {"id", 0xD80062}, {"payload", "07 00 00 00"}})["sent"], 2);
    EXPECT_EQ(one.Next(protocol::kBtStateChanged).value, 7);
    EXPECT_EQ(other.Next(protocol::kBtStateChanged).value, 7);

    const auto client = Command({{"command", "status"}})["clients"][0]["client"];
    EXPECT_EQ(Command({{"command", "notify"}, {"id", "0xD80062"}, {"client", client}})["sent"], 1);
    EXPECT_EQ(one.Next(protocol::kBtStateChanged).value, 0) << "without a payload it is zeros";
    EXPECT_EQ(other.Waiting(protocol::kBtStateChanged.id), 0U);
    EXPECT_EQ(Command({{"command", "notify"},
                       {"id", "BtStateChanged"},
                       {"pid", os::CurrentProcessId()}})["sent"],
              2);
}

TEST_F(CommandsTest, AFloodArrivesInFull)
{
    TestClient client(PipeName());
    client.Call(protocol::kIsBtEnabled);
    Command({{"command", "flood"}, {"id", "BtStateChanged"}, {"count", 500}});
    EXPECT_TRUE(Eventually([&] { return client.Waiting(protocol::kBtStateChanged.id) == 500; }));
}

TEST_F(CommandsTest, ErrorsReachEveryClient)
{
    TestClient client(PipeName());
    client.Call(protocol::kIsBtEnabled);
    EXPECT_EQ(Command({{"command", "error"}, {"code", 0x10000001}})["sent"], 1);
    EXPECT_EQ(client.Next(protocol::kErrorStatus).value, 0x10000001);
}

TEST_F(CommandsTest, ADisconnectedClientReturnsAndIsGreeted)
{
    TestClient client(PipeName());
    client.Call(protocol::kIsBtEnabled);
    EXPECT_EQ(Command({{"command", "disconnect"}})["disconnected"], 1);
    client.Next(protocol::kServiceStarted);
    EXPECT_EQ(Command({{"command", "malformed"}})["sent"], 1);
    client.Next(protocol::kServiceStarted);
    EXPECT_TRUE(client.Call(protocol::kIsBtEnabled));
}

TEST_F(CommandsTest, ErrorsOfTheWorldFileComeAtTheirTimes)
{
    EndService();
    StartService(R"({"errors": [{"code": 5, "afterMs": 1, "everyMs": 1}]})");
    TestClient client(PipeName());
    EXPECT_EQ(client.Next(protocol::kErrorStatus).value, 5);
    EXPECT_EQ(client.Next(protocol::kErrorStatus).value, 5);
}

}  // namespace
}  // namespace pelacon::service::tests
