#include <tests/support/Bytes.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattFile.h>
#include <tools/pelaconctl/GattText.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace pelacon::ctl {

namespace {

using test::ByteVector;
using ::testing::HasSubstr;

constexpr auto kOwn = "5e1ac0de-0001-4000-8000-000000000000";

TEST(GattText, ParsesEachFormOfAUuid)
{
    for (const char* text :
         {"180D", "180d", "0x180d", "0000180D", "0000180d-0000-1000-8000-00805F9B34FB"}) {
        EXPECT_EQ(FormatUuid(ParseUuidText(text)), "180D") << text;
    }
    EXPECT_EQ(FormatUuid(ParseUuidText(kOwn)), kOwn);
    EXPECT_EQ(FormatUuid(ParseUuidText("12345678")), "12345678");
}

TEST(GattText, RejectsTextThatIsNotAUuid)
{
    for (const char* text :
         {"", "0x", "180", "180DD", "heart", "0x0x180D", "0000180d00001000800000805f9b34fb"}) {
        EXPECT_THROW(ParseUuidText(text), Failure) << text;
    }
}

TEST(GattText, KnowsTheNamesOfAssignedServices)
{
    EXPECT_EQ(ServiceName(ParseUuidText("180D")), "Heart Rate");
    EXPECT_EQ(ServiceName(ParseUuidText(kOwn)), "");
    for (const auto& uuid : NamedServices()) {
        EXPECT_NE(ServiceName(uuid), "") << FormatUuid(uuid);
    }
    EXPECT_GT(NamedServices().size(), 20U);
}

TEST(GattText, ParsesValuesInHexadecimalAndText)
{
    EXPECT_EQ(ParseValue("00 48"), (ByteVector{0, 0x48}));
    EXPECT_EQ(ParseValue(""), ByteVector());
    EXPECT_EQ(ParseValue("\"on\""), (ByteVector{'o', 'n'}));
    EXPECT_EQ(ParseValue("\"\""), ByteVector());
    EXPECT_EQ(ParseValue(std::string(2048, '0')).size(), 1024U);
    EXPECT_THROW(ParseValue(std::string(2050, '0')), Failure);
    EXPECT_THROW(ParseValue("\"" + std::string(1025, 'x') + "\""), Failure);
    EXPECT_THROW(ParseValue("on"), Failure);
    EXPECT_THROW(ParseValue("\"on"), Failure);
}

TEST(GattText, FormatsValuesInHexadecimalAndText)
{
    EXPECT_EQ(FormatValue(ByteVector()), "(empty)");
    EXPECT_EQ(FormatValue(ByteVector{'o', 'n'}), "6f6e \"on\"");
    EXPECT_EQ(FormatValue(ByteVector{0, 'n'}), "006e");
    EXPECT_EQ(FormatValue(ByteVector{0x1B, '['}), "1b5b") << "nothing that moves the cursor";
    EXPECT_EQ(FormatValue(ByteVector{0xC3}), "c3") << "no UTF-8";

    nlohmann::ordered_json record;
    AddValue(record, ByteVector{'o', 'n'});
    EXPECT_EQ(record.dump(), R"({"value":"6f6e","text":"on"})");
    record.clear();
    AddValue(record, ByteVector{0});
    EXPECT_EQ(record.dump(), R"({"value":"00"})");
    record.clear();
    AddUuid(record, "service", ParseUuidText("180D"));
    EXPECT_EQ(record.dump(),
              R"({"service":"180D","service128":"0000180d-0000-1000-8000-00805f9b34fb"})");
}

TEST(GattFile, ReadsServicesAndCharacteristics)
{
    const auto services = ReadServices(R"({"services": [ // two of them
        {"uuid": "180D", "characteristics": [
            {"uuid": "2A37", "flags": ["read", "notify", "indicate"], "value": "0048"},
            {"uuid": "2A39", "flags": ["write", "writeWithoutResponse"], "value": {"text": "on"}},
            {"uuid": "2A38"}]},
        {"uuid": "5e1ac0de-0001-4000-8000-000000000000"}]})",
                                       "file");
    ASSERT_EQ(services.size(), 2U);
    EXPECT_EQ(services[0].uuid, ParseUuidText("180D"));
    const auto& characteristics = services[0].characteristics;
    ASSERT_EQ(characteristics.size(), 3U);
    EXPECT_EQ(characteristics[0].uuid, ParseUuidText("2A37"));
    EXPECT_EQ(characteristics[0].flags, 0x32);
    EXPECT_EQ(characteristics[0].value, (ByteVector{0, 0x48}));
    EXPECT_EQ(characteristics[1].flags, 0x0C);
    EXPECT_EQ(characteristics[1].value, (ByteVector{'o', 'n'}));
    EXPECT_EQ(characteristics[2].flags, 0x02);
    EXPECT_TRUE(services[1].characteristics.empty());
}

TEST(GattFile, ErrorsNameFileLineAndField)
{
    const auto error = [](const std::string& text) {
        try {
            ReadServices(text, "hr.json");
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.Status(), ExitStatus::kUsage);
            return std::string(failure.what());
        }
        return std::string("none");
    };
    EXPECT_THAT(error("{\n"), HasSubstr("hr.json:2: "));
    EXPECT_EQ(error("[]"), "hr.json:1: must be an object, in braces.");
    EXPECT_EQ(error("{}"), "hr.json:1: the field \"services\" is missing.");
    EXPECT_EQ(error("{\n\"services\": []}"), "hr.json:2: services: must not be empty.");
    EXPECT_EQ(error(R"({"services": {}})"), "hr.json:1: services: must be a list, in brackets.");
    EXPECT_EQ(error(R"({"services": [{}]})"),
              "hr.json:1: services[0]: the field \"uuid\" is missing.");
    EXPECT_THAT(error(R"({"services": [{"uuid": "18"}]})"),
                HasSubstr("hr.json:1: services[0].uuid: must be a UUID"));
    EXPECT_EQ(error(R"({"services": [{"uuid": "180D"}, {"uuid": "0000180d"}]})"),
              "hr.json:1: services: names 180d twice.");
    const std::string prefix =
        R"({"services": [{"uuid": "180D", "characteristics": [{"uuid": "2A37", )";
    EXPECT_THAT(error(prefix + R"("flags": ["fly"]}]}]})"),
                HasSubstr("hr.json:1: services[0].characteristics[0].flags[0]: must be one of "));
    EXPECT_THAT(error(prefix + R"("value": "0"}]}]})"),
                HasSubstr("hr.json:1: services[0].characteristics[0].value: "));
    EXPECT_THAT(error(prefix + R"("notifyMs": 1}]}]})"), HasSubstr("notifyMs"));
    EXPECT_EQ(error(prefix + R"("flags": []}, {"uuid": "2a37"}]}]})"),
              "hr.json:1: services[0].characteristics: names 2a37 twice.");
}

TEST(GattFile, NamesAFileThatCannotBeRead)
{
    EXPECT_THROW(LoadServices("no/such/file.json"), Failure);
}

}  // namespace

}  // namespace pelacon::ctl
