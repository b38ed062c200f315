// The table of results: against the enumerators of the public headers, and against its document.
#include <PelaconSDK/PelaconSDK.h>
#include <protocol/ServiceStatus.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>
#include <string>

namespace pelacon::test {

namespace {

using ::testing::StrEq;

std::string ReadFile(const std::string& name)
{
    std::ifstream file(PELACON_SOURCE_FOLDER "/" + name);
    EXPECT_TRUE(file) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A family of results: the enumeration of its header, and its heading in docs/results.md.
struct Family {
    PelaconStatusFamily family;
    const char* header;
    const char* enumeration;
    const char* heading;
};

constexpr Family kFamilies[] = {
    {kPelaconStatusBle, "BleStatus.h", "BleStatusC", "Bluetooth LE and GATT"},
    {kPelaconStatusWifi, "WifiStatus.h", "WifiErrorCode", "Wi-Fi Direct"},
    {kPelaconStatusSoftAp, "SoftAp.h", "SoftApResult", "Soft AP"},
};

/// The enumerators of the header, by value.
std::map<std::int32_t, std::string> EnumeratorsOf(const Family& family)
{
    const std::string header = ReadFile(std::string("include/PelaconSDK/") + family.header);
    const auto begin = header.find(std::string("PELACON_ENUM(") + family.enumeration + ")");
    const std::string body = header.substr(begin, header.find("};", begin) - begin);
    const std::regex enumerator(R"((k\w+) = (-?\w+),)");
    std::map<std::int32_t, std::string> enumerators;
    for (std::sregex_iterator match(body.begin(), body.end(), enumerator), end; match != end;
         ++match) {
        enumerators[static_cast<std::int32_t>(std::stol((*match)[2], nullptr, 0))] = (*match)[1];
    }
    return enumerators;
}

TEST(StatusTest, EachEnumeratorHasItsNameAndAText)
{
    for (const Family& family : kFamilies) {
        const auto enumerators = EnumeratorsOf(family);
        EXPECT_GT(enumerators.size(), 10U) << family.header;
        for (const auto& [code, name] : enumerators) {
            EXPECT_EQ(PelaconStatusName(family.family, code), name);
            EXPECT_THAT(PelaconStatusText(family.family, code),
                        ::testing::Not(StrEq("an unknown result")))
                << name;
        }
    }
}

TEST(StatusTest, EachCodeOfTheServiceHasAnEnumerator)
{
    for (std::int32_t code = protocol::kStatusDone; code <= protocol::kStatusInterrupted; ++code) {
        EXPECT_TRUE(EnumeratorsOf(kFamilies[0]).contains(code)) << code;
        EXPECT_TRUE(EnumeratorsOf(kFamilies[1]).contains(code)) << code;
    }
}

TEST(StatusTest, OtherCodesAreUnknown)
{
    EXPECT_THAT(PelaconStatusName(kPelaconStatusBle, 99), StrEq("unknown"));
    EXPECT_THAT(PelaconStatusText(kPelaconStatusBle, 99), StrEq("an unknown result"));
    EXPECT_THAT(PelaconStatusName(static_cast<PelaconStatusFamily>(7), 0), StrEq("unknown"));
}

/// What docs/results.md says of a family.
std::string TableOf(const Family& family)
{
    std::ostringstream table;
    table << "## " << family.heading << "\n\n| code | name | meaning |\n|---|---|---|\n";
    for (const auto& [code, name] : EnumeratorsOf(family)) {
        table << "| " << code << " | `" << name << "` | " << PelaconStatusText(family.family, code)
              << " |\n";
    }
    return table.str();
}

TEST(StatusTest, TheDocumentHasTheSameTables)
{
    const std::string document = ReadFile("docs/results.md");
    for (const Family& family : kFamilies) {
        // Up to the heading of the next one, so that no row is left over.
        const std::string table = TableOf(family);
        EXPECT_TRUE(document.ends_with(table) || document.find(table + "\n## ") != document.npos)
            << "there should be: " << table;
    }
}

TEST(VersionTest, OfTheLibraryIsThatOfItsHeaders)
{
    const std::string version = std::to_string(PELACON_VERSION_MAJOR) + "." +
                                std::to_string(PELACON_VERSION_MINOR) + "." +
                                std::to_string(PELACON_VERSION_PATCH);
    EXPECT_EQ(PelaconGetVersionNumber(), PELACON_VERSION_NUMBER);
    EXPECT_THAT(PelaconGetVersion(), ::testing::StartsWith(version));
}

}  // namespace

}  // namespace pelacon::test
