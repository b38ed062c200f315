#include <service/simulation/WorldFile.h>
#include <tests/service/WorldText.h>
#include <tests/support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;

TEST(WorldFileTest, TheBuiltInWorldIsValid)
{
    const simulation::WorldFile world =
        simulation::ReadWorldFile(simulation::DefaultWorldText(), "default-world.json");
    EXPECT_TRUE(world.adapter.on);
    EXPECT_TRUE(world.faults.empty());
}

TEST(WorldFileTest, AnEmptyObjectIsAWorldOfDefaults)
{
    const simulation::WorldFile world = simulation::ReadWorldFile("{}", "world.json");
    EXPECT_EQ(world.adapter.name, "Pelacon");
    EXPECT_FALSE(world.seed);
}

TEST(WorldFileTest, ReadsTheAdapter)
{
    const simulation::WorldFile world = simulation::ReadWorldFile(R"({"seed": 9, "adapter": {
        "address": "01:02:03:04:05:06", "name": "Desk", "on": false,
        "turnOnMs": 1, "turnOffMs": 2,
        "connected": [{"address": "0A:00:00:00:00:0B", "type": "classic"},
                      {"address": "0A:00:00:00:00:0C"}]}})",
                                                                  "world.json");
    EXPECT_EQ(world.seed, 9U);
    EXPECT_EQ(world.adapter.address, 0x010203040506U);
    EXPECT_EQ(world.adapter.name, "Desk");
    EXPECT_FALSE(world.adapter.on);
    EXPECT_EQ(world.adapter.turnOnDelay, 1ms);
    EXPECT_EQ(world.adapter.turnOffDelay, 2ms);
    ASSERT_EQ(world.adapter.connected.size(), 2U);
    EXPECT_EQ(world.adapter.connected[0].type, radio::BluetoothType::kClassic);
    EXPECT_EQ(world.adapter.connected[1].type, radio::BluetoothType::kLe);
}

TEST(WorldFileTest, ReadsTheStack)
{
    using simulation::StackOperation;
    const auto world = Read(R"({"stack": {
        "rename": {"ms": 1000}, "switch": {"fails": "blocked"},
        "advertise": {"ms": 1, "fails": "limit-reached", "times": 2},
        "scan": {"endsAfterMs": 5}, "switchWifi": {"fails": "blocked", "ms": 7},
        "createGroup": {"fails": "not-permitted"}, "moveGroup": {"ms": 3}}})");
    const auto of = [&](StackOperation operation) {
        return world.stack.at(static_cast<std::size_t>(operation));
    };
    EXPECT_EQ(of(StackOperation::kRename).delay, 1s);
    EXPECT_EQ(of(StackOperation::kRename).outcome, radio::Outcome::kDone);
    EXPECT_EQ(of(StackOperation::kSwitch).outcome, radio::Outcome::kBlocked);
    EXPECT_EQ(of(StackOperation::kAdvertise).outcome, radio::Outcome::kLimitReached);
    EXPECT_EQ(of(StackOperation::kAdvertise).times, 2U);
    EXPECT_EQ(of(StackOperation::kScan).endsAfter, 5ms);
    EXPECT_EQ(of(StackOperation::kShowService).delay, 0ms);
    EXPECT_EQ(of(StackOperation::kShowService).outcome, radio::Outcome::kDone);
    EXPECT_EQ(of(StackOperation::kSwitchWifi).outcome, radio::Outcome::kBlocked);
    EXPECT_EQ(of(StackOperation::kSwitchWifi).delay, 7ms);
    EXPECT_EQ(of(StackOperation::kCreateGroup).outcome, radio::Outcome::kNotPermitted);
    EXPECT_EQ(of(StackOperation::kMoveGroup).delay, 3ms);

    EXPECT_EQ(Complaint(R"({"stack": {"rename": {"endsAfterMs": 5}}})"),
              "world.json:1: stack.rename.endsAfterMs: unknown field; there may be ms, fails, "
              "times");
    EXPECT_EQ(Complaint(R"({"stack": {"scan": {"fails": "often"}}})"),
              "world.json:1: stack.scan.fails: must be one of \"no-adapter\", \"off\", "
              "\"blocked\", \"not-permitted\", \"limit-reached\", \"failed\"");
}

TEST(WorldFileTest, ReadsErrors)
{
    const simulation::WorldFile world = simulation::ReadWorldFile(
        R"({"errors": [{"code": 268435457, "afterMs": 5}, {"code": -1, "afterMs": 0, "everyMs": 7}]})",
        "world.json");
    ASSERT_EQ(world.errors.size(), 2U);
    EXPECT_EQ(world.errors[0].code, 0x10000001);
    EXPECT_EQ(world.errors[0].every, 0ms);
    EXPECT_EQ(world.errors[1].every, 7ms);
}

TEST(WorldFileTest, IsAFileOfBoundedSize)
{
    const test::TemporaryFolder folder;
    const std::string file = folder.File("world.json");
    const auto complaint = [](const std::string& path) {
        try {
            simulation::LoadWorldFile(path);
            return std::string();
        } catch (const json::Error& error) {
            return std::string(error.what());
        }
    };
    EXPECT_NE(complaint(file).find(": cannot be read"), std::string::npos);
    std::ofstream(file) << "{}";
    EXPECT_EQ(complaint(file), "");
    std::ofstream(file) << std::string(16UL * 1024 * 1024 + 1, ' ');
    EXPECT_EQ(complaint(file), file + ": is larger than a world file may be (16 MiB)");
    EXPECT_EQ(complaint(folder.File("")),
              folder.File("") + ": cannot be read: it is neither a file nor a pipe");
}

TEST(WorldFileTest, MistakesAreReportedWithLineAndField)
{
    EXPECT_EQ(Complaint("{\n\"adaptor\": {}}").substr(0, 40),
              "world.json:2: adaptor: unknown field; th");
    EXPECT_EQ(Complaint("{\"adapter\": {\n\"name\": \"\"}}"),
              "world.json:2: adapter.name: must be text of 1 to 64 bytes");
    EXPECT_EQ(Complaint("{\"adapter\": {\n\n\"on\": 1}}"),
              "world.json:3: adapter.on: must be true or false");
    EXPECT_EQ(Complaint("{\"adapter\": {\"connected\": [{\"address\": \"01:02:03:04:05:06\"},\n"
                        "{\"address\": \"1\"}]}}"),
              "world.json:2: adapter.connected[1].address: must be an address such as "
              "\"01:23:45:67:89:AB\"");
    EXPECT_EQ(Complaint("{\"adapter\": {\"connected\": [{\"address\": \"01:02:03:04:05:06\",\n"
                        "\"type\": \"both\"}]}}"),
              "world.json:2: adapter.connected[0].type: must be one of \"classic\", \"le\"");
    EXPECT_EQ(Complaint("{\"adapter\": {\"turnOnMs\": 60001}}"),
              "world.json:1: adapter.turnOnMs: must be a whole number between 0 and 60000");
    EXPECT_EQ(Complaint("{\"errors\": [{\"code\": 1}]}"),
              "world.json:1: errors[0]: the field \"afterMs\" is missing");
    EXPECT_EQ(Complaint("{\"faults\": [\n{\"request\": \"BtEnable\", \"do\": \"nothing\"}]}"),
              "world.json:2: faults[0].do: must be one of \"delay\", \"never\", \"empty\", "
              "\"status\", \"disconnect\", \"malformed\"");
    EXPECT_EQ(Complaint("{\"faults\": [{\"request\": \"BtEnabel\", \"do\": \"never\"}]}"),
              "world.json:1: faults[0].request: must be \"any\", an operation's name, or its id "
              "such as \"0xD7005C\"");
    EXPECT_EQ(Complaint("{\"faults\": [{\"request\": \"any\", \"do\": \"delay\"}]}"),
              "world.json:1: faults[0]: the field \"ms\" is missing");
    EXPECT_EQ(Complaint("{\"faults\": [{\"request\": \"any\", \"do\": \"status\"}]}"),
              "world.json:1: faults[0]: the field \"status\" is missing");
    EXPECT_EQ(Complaint("{\"faults\": [{\"request\": \"any\", \"do\": \"never\", \"times\": 0}]}"),
              "world.json:1: faults[0].times: must be a whole number between 1 and 1000000000");
    EXPECT_EQ(Complaint("{\"faults\": [{\"request\": \"any\", \"do\": \"never\",\n"
                        "\"probability\": 1.5}]}"),
              "world.json:2: faults[0].probability: must be a number between 0 and 1");
    EXPECT_EQ(Complaint("{\"faults\": [{\"request\": \"BtStateChanged\", \"do\": \"never\"}]}"),
              "world.json:1: faults[0].request: must be \"any\", an operation's name, or its id "
              "such as \"0xD7005C\"");
}

TEST(WorldFileTest, ItsNameIsUtf8)
{
    const test::TemporaryFolder folder;
    const std::filesystem::path path = folder.Path() / u8"Büro.json";
    std::ofstream(path) << "{\"seed\": 7}";
    const std::u8string name = path.u8string();
    EXPECT_EQ(simulation::LoadWorldFile(std::string(name.begin(), name.end())).seed, 7U);
}

TEST(WorldFileTest, AFileThatCannotBeReadIsNamed)
{
    EXPECT_THROW(simulation::LoadWorldFile("no such file.json"), json::Error);
    const test::TemporaryFolder folder;
    EXPECT_THROW(simulation::LoadWorldFile(folder.Path().string()), json::Error);
    const std::string path = folder.File("world.json");
    std::ofstream(path) << "{\n\"seed\": -1}";
    try {
        simulation::LoadWorldFile(path);
        ADD_FAILURE() << "took it";
    } catch (const json::Error& error) {
        EXPECT_TRUE(std::string(error.what()).starts_with(path + ":2: seed: ")) << error.what();
    }
}

}  // namespace
}  // namespace pelacon::service::tests
