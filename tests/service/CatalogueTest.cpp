#include <protocol/Catalogue.h>

#include <gtest/gtest.h>

#include <cctype>
#include <map>
#include <set>
#include <string>

namespace pelacon::protocol {
namespace {

TEST(CatalogueTest, NamesAreUniqueAndPlain)
{
    std::set<std::string> names;
    for (const CatalogueEntry& entry : kCatalogue) {
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name << " is listed twice";
        for (const char* letter = entry.name; *letter != '\0'; ++letter) {
            EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(*letter))) << entry.name;
        }
    }
}

TEST(CatalogueTest, OneIdAloneNamesTwoOperations)
{
    std::map<std::int32_t, int> requests;
    std::map<std::int32_t, int> notifications;
    for (const CatalogueEntry& entry : kCatalogue) {
        ++(entry.IsSentToService() ? requests : notifications)[entry.id];
    }
    for (const auto& [id, count] : requests) {
        EXPECT_EQ(count, id == 0xD7007D ? 2 : 1) << std::hex << id;
    }
    for (const auto& [id, count] : notifications) {
        EXPECT_EQ(count, 1) << std::hex << id;
    }
}

TEST(CatalogueTest, ContainsEveryOperation)
{
    std::size_t requests = 0;
    std::size_t notifications = 0;
    for (const CatalogueEntry& entry : kCatalogue) {
        ++(entry.IsSentToService() ? requests : notifications);
        EXPECT_EQ(entry.timeout.count() != 0, entry.kind == CatalogueEntry::Kind::kRequest)
            << entry.name;
    }
    EXPECT_EQ(requests, 108U);
    EXPECT_EQ(notifications, 26U);
}

TEST(CatalogueTest, FindsTheOperationOfAPayload)
{
    EXPECT_STREQ(FindRequest(0xD7007D, 4)->name, "BleUnRegisterTargetAdvCallback");
    EXPECT_STREQ(FindRequest(0xD7007D, 0)->name, "Vod2dGetIfaceCoexistCap");
    EXPECT_STREQ(FindRequest(0xD7007D, 2)->name, "BleUnRegisterTargetAdvCallback");
    EXPECT_STREQ(FindRequest(0xD7007D, 40)->name, "BleUnRegisterTargetAdvCallback");
    EXPECT_STREQ(FindRequest(0xD7005C, 7)->name, "BtEnable");
    EXPECT_STREQ(FindRequest(0xD8007B, 40)->name, "BleOnRecvVoviewData");
    EXPECT_EQ(FindRequest(0xD80062, 4), nullptr) << "a notification";
    EXPECT_STREQ(FindNotification(0xD80062)->name, "BtStateChanged");
    EXPECT_EQ(FindNotification(0xD7005C), nullptr) << "a request";
    EXPECT_EQ(FindByName("BtEnable")->id, 0xD7005C);
    EXPECT_EQ(FindByName("btenable"), nullptr);
}

TEST(CatalogueTest, GivesThePlaceOfAReplysStatus)
{
    const auto place = [](const char* name) { return FindByName(name)->status; };
    EXPECT_EQ(place("BtEnable")->offset, 0U);
    EXPECT_EQ(place("GetBtMacAndName")->offset, 72U);
    EXPECT_EQ(place("BleScanRegisterCallbacks")->offset, 4U);
    EXPECT_EQ(place("BleGattClientReadCharacteristic")->offset, 1108U);
    EXPECT_EQ(place("SystemCreateSoftAP")->offset, 324U);
    EXPECT_EQ(place("GetBtRunningState")->offset, 0U);
    EXPECT_EQ(place("IsBtEnabled")->size, 1U);
    EXPECT_FALSE(place("GetSSID"));
    EXPECT_FALSE(place("BleGattClientConnect"));
    EXPECT_EQ(FindByName("BleGattClientConnect")->kind, CatalogueEntry::Kind::kPosted);
}

}  // namespace
}  // namespace pelacon::protocol
