#include <json/Reader.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::json {
namespace {

using namespace std::chrono_literals;

/// The error message of reading the text with this function; empty if there is none.
std::string Complaint(const std::string& text, const std::function<void(const Reader&)>& read)
{
    try {
        const Document document = Parse(text, "f.json");
        read(Reader(document));
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}

std::string ParseComplaint(const std::string& text)
{
    return Complaint(text, [](const Reader&) {});
}

/// Reads the field "x" of the text's object.
std::string FieldComplaint(const std::string& text, const std::function<void(const Reader&)>& read)
{
    return Complaint(text, [&](const Reader& reader) {
        reader.Object([&](Fields& fields) { read(fields.Required("x")); });
    });
}

std::size_t LineOf(const std::string& text, const std::string& name)
{
    std::size_t line = 0;
    const Document document = Parse(text, "f.json");
    for (const Member& member : std::get<Value::Object>(document.root.data)) {
        if (member.name == name) {
            line = member.value.line;
        }
    }
    return line;
}

TEST(DocumentTest, RemembersTheLineOfEachValue)
{
    const std::string text =
        "{ // comments count\n"
        "\"integer\": 12\n"
        ",\"negative\":\n"
        "-5,\n"
        "/* two\n"
        "lines */ \"real\": 1.5\n"
        ", \"text\": \"a\",\r\n"
        "\"list\": [\n"
        "1], \"object\": {\n"
        "}, \"flag\": true\n"
        ", \"none\": null, \"huge\": 18446744073709551615\n"
        "}";
    EXPECT_EQ(LineOf(text, "integer"), 2U);
    EXPECT_EQ(LineOf(text, "negative"), 4U);
    EXPECT_EQ(LineOf(text, "real"), 6U);
    EXPECT_EQ(LineOf(text, "text"), 7U);
    EXPECT_EQ(LineOf(text, "list"), 8U);
    EXPECT_EQ(LineOf(text, "object"), 9U);
    EXPECT_EQ(LineOf(text, "flag"), 10U);
    EXPECT_EQ(LineOf(text, "none"), 11U);
    EXPECT_EQ(LineOf(text, "huge"), 11U);
}

TEST(DocumentTest, InvalidJsonIsRefusedWithItsLine)
{
    EXPECT_TRUE(ParseComplaint("").starts_with("f.json:1: ")) << ParseComplaint("");
    EXPECT_TRUE(ParseComplaint("{\n\"a\": ,\n}").starts_with("f.json:2: "));
    EXPECT_TRUE(ParseComplaint("{\n\"a\": 1\n\"b\": 2}").starts_with("f.json:3: "));
    EXPECT_TRUE(ParseComplaint("{\n\"a\": 1,\n}").starts_with("f.json:3: "));
    EXPECT_TRUE(ParseComplaint("{} {}").starts_with("f.json:1: "));
    EXPECT_TRUE(ParseComplaint("{\n\n\"a\": 00}").starts_with("f.json:3: "));
    EXPECT_TRUE(ParseComplaint("[1,\n\"\xff\"]").starts_with("f.json:2: "));
    EXPECT_TRUE(ParseComplaint("{\"a\": 1").starts_with("f.json:1: "));
}

TEST(DocumentTest, ANameMayOccurOnceInAnObject)
{
    EXPECT_EQ(ParseComplaint("{\"a\": 1,\n\"a\": 2}"), "f.json:2: a: stands here twice");
    EXPECT_EQ(ParseComplaint("{\"a\": {\"a\": 1}, \"b\": {\"a\": 2}}"), "");
}

TEST(DocumentTest, NestingIsLimited)
{
    EXPECT_EQ(ParseComplaint(std::string(32, '[') + std::string(32, ']')), "");
    EXPECT_EQ(ParseComplaint(std::string(1'000'000, '[')), "f.json:1: nested too deeply");
}

TEST(ReaderTest, ReadsValuesOfEachType)
{
    const Document document = Parse(
        R"({"flag": true, "number": -3, "real": 2.5, "ms": 40, "text": "hi",
            "address": "01:23:45:67:89:aB", "hex": "02 01 06ff", "word": "two",
            "list": [1, 2, 3]})",
        "f.json");
    Reader(document).Object([](Fields& fields) {
        EXPECT_TRUE(fields.Required("flag").Bool());
        EXPECT_EQ(fields.Required("number").Integer<std::int32_t>(), -3);
        EXPECT_EQ(fields.Required("real").Number(0, 3), 2.5);
        EXPECT_EQ(fields.Required("ms").Number(0, 100), 40.0);
        EXPECT_EQ(fields.Required("ms").Milliseconds(0ms, 1s), 40ms);
        EXPECT_EQ(fields.Required("text").Text(1, 2), "hi");
        EXPECT_EQ(fields.Required("address").Address(), 0x0123456789ABU);
        EXPECT_EQ(fields.Required("hex").Hex(0, 9), (std::vector<std::uint8_t>{2, 1, 6, 255}));
        EXPECT_EQ(fields.Required("word").Choice<int>({{"one", 1}, {"two", 2}}), 2);
        const auto list = fields.Required("list").List(
            [](const Reader& reader) { return reader.Integer<int>(); });
        EXPECT_EQ(list, (std::vector{1, 2, 3}));
        EXPECT_FALSE(fields.Optional("absent"));
    });
}

TEST(ReaderTest, AWrongTypeIsNamedWithFileLineAndField)
{
    const std::string text = "{\n\"x\": []}";
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Bool(); }),
              "f.json:2: x: must be true or false");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Integer<int>(1, 5); }),
              "f.json:2: x: must be a whole number between 1 and 5");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Number(0.5, 1); }),
              "f.json:2: x: must be a number between 0.5 and 1");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Milliseconds(1ms, 2s); }),
              "f.json:2: x: must be a whole number between 1 and 2000");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Text(1, 9); }),
              "f.json:2: x: must be text of 1 to 9 bytes");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Address(); }),
              "f.json:2: x: must be an address such as \"01:23:45:67:89:AB\"");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Hex(1, 3); }),
              "f.json:2: x: must be 1 to 3 bytes in hexadecimal, such as \"02 01 06\"");
    EXPECT_EQ(FieldComplaint(text,
                             [](const Reader& x) {
                                 x.Choice<int>({{"a", 1}, {"b", 2}});
                             }),
              "f.json:2: x: must be one of \"a\", \"b\"");
    EXPECT_EQ(FieldComplaint(text, [](const Reader& x) { x.Object([](Fields&) {}); }),
              "f.json:2: x: must be an object, in braces");
    EXPECT_EQ(FieldComplaint("{\"x\": 1}",
                             [](const Reader& x) { x.List([](const Reader&) { return 0; }); }),
              "f.json:1: x: must be a list, in brackets");
}

TEST(ReaderTest, ANumberOutsideItsLimitsIsRefused)
{
    const auto complains = [](const std::string& number, auto read) {
        return !FieldComplaint("{\"x\": " + number + "}", read).empty();
    };
    const auto byte = [](const Reader& x) { x.Integer<std::uint8_t>(); };
    EXPECT_FALSE(complains("255", byte));
    EXPECT_TRUE(complains("256", byte));
    EXPECT_TRUE(complains("-1", byte));
    EXPECT_TRUE(complains("1.0", byte));
    EXPECT_TRUE(complains("\"1\"", byte));
    const auto large = [](const Reader& x) { x.Integer<std::uint64_t>(); };
    EXPECT_FALSE(complains("18446744073709551615", large));
    const auto whole = [](const Reader& x) { x.Integer<std::int64_t>(); };
    EXPECT_TRUE(complains("18446744073709551615", whole));
    EXPECT_FALSE(complains("-9223372036854775808", whole));
    EXPECT_TRUE(complains("1e400", [](const Reader& x) { x.Number(-1, 1); }));
}

TEST(ReaderTest, AddressesAndHexadecimalAreReadStrictly)
{
    const auto badAddress = [](const std::string& text) {
        return !FieldComplaint("{\"x\": \"" + text + "\"}", [](const Reader& x) {
                    x.Address();
                }).empty();
    };
    EXPECT_FALSE(badAddress("00:11:22:33:44:55"));
    for (const char* text :
         {"", "00:11:22:33:44", "00:11:22:33:44:55:66", "001122334455", "00:11:22:33:44:5",
          "00:11:22:33:44:5g", "00-11-22-33-44-55", ":00:11:22:33:44:55", "00:11:22:33:44:55:"}) {
        EXPECT_TRUE(badAddress(text)) << text;
    }
    const auto badHex = [](const std::string& text) {
        return !FieldComplaint("{\"x\": \"" + text + "\"}", [](const Reader& x) {
                    x.Hex(0, 3);
                }).empty();
    };
    EXPECT_FALSE(badHex(""));
    EXPECT_FALSE(badHex("0a0B0c"));
    for (const char* text : {"0", "0a0", "0a 0", "0x01", " 01", "01 ", "01  02", "01020304"}) {
        EXPECT_TRUE(badHex(text)) << text;
    }
}

TEST(ReaderTest, TextWithANulIsRefused)
{
    EXPECT_EQ(FieldComplaint(R"({"x": "a\u0000b"})", [](const Reader& x) { x.Text(0, 9); }),
              "f.json:1: x: must not hold a NUL");
}

TEST(ReaderTest, UnknownAndMissingFieldsAreNamedWithTheirPlace)
{
    const auto read = [](const Reader& reader) {
        reader.Object([](Fields& fields) {
            fields.Required("things").List([](const Reader& thing) {
                thing.Object([](Fields& inner) {
                    inner.Required("size").Integer<int>(1, 9);
                    inner.Optional("colour");
                });
                return 0;
            });
        });
    };
    EXPECT_EQ(Complaint("{\"things\": [{\"size\": 1},\n{\"size\": 1,\n\"colur\": 2}]}", read),
              "f.json:3: things[1].colur: unknown field; there may be size, colour");
    EXPECT_EQ(Complaint("{\"things\": [{\"size\": 1},\n{\"colour\": 1}]}", read),
              "f.json:2: things[1]: the field \"size\" is missing");
    EXPECT_EQ(Complaint("{\"things\": [\n{\"size\":\n10}]}", read),
              "f.json:3: things[0].size: must be a whole number between 1 and 9");
    EXPECT_EQ(Complaint("{\"thing\": []}", read), "f.json:1: the field \"things\" is missing");
    EXPECT_EQ(Complaint("[]", read), "f.json:1: must be an object, in braces");
}

struct Size {
    int width = 1;
    int height = 1;
    bool operator==(const Size&) const = default;
};

void ReadSize(Fields& fields, Size& size)
{
    fields.Read("width", size.width, 1, 9);
    fields.Read("height", size.height, 1, 9);
}

/// A value of each type that a field is read into.
struct Everything {
    bool flag = false;
    std::uint8_t number = 1;
    double share = 0.5;
    std::string text = "none";
    std::chrono::milliseconds time{1};
    std::optional<std::int32_t> maybe;
    std::optional<std::uint64_t> address;
    std::vector<std::uint64_t> addresses;
    int word = 0;
    Size size{3, 4};
    std::optional<Size> maybeSize;
    std::vector<Size> sizes;
};

Everything ReadEverything(const std::string& text)
{
    Everything read;
    const Document document = Parse(text, "f.json");
    Reader(document).Object([&](Fields& fields) {
        fields.Read("flag", read.flag);
        fields.Read("number", read.number, 0, 100);
        fields.Read("share", read.share, 0, 1);
        fields.Read("text", read.text, 1, 4);
        fields.Read("time", read.time, 0ms, 1min);
        fields.Read("maybe", read.maybe, -1, 1);
        fields.Read("address", read.address, &Reader::Address);
        fields.Read("addresses", read.addresses, &Reader::Address);
        fields.Read("word", read.word, {{"one", 1}, {"two", 2}});
        fields.Read("size", read.size, &ReadSize);
        fields.Read("maybeSize", read.maybeSize, &ReadSize);
        fields.Read("sizes", read.sizes, &ReadSize);
    });
    return read;
}

TEST(FieldsTest, AreReadByTheTypeOfTheirTarget)
{
    const Everything read = ReadEverything(R"({
        "flag": true, "number": 100, "share": 1, "text": "some", "time": 60000, "maybe": -1,
        "address": "00:00:00:00:00:0A",
        "addresses": ["00:00:00:00:00:01", "00:00:00:00:01:00"],
        "word": "two", "size": {"width": 5}, "maybeSize": {"height": 6},
        "sizes": [{}, {"width": 7}]})");
    EXPECT_TRUE(read.flag);
    EXPECT_EQ(read.number, 100);
    EXPECT_EQ(read.share, 1.0);
    EXPECT_EQ(read.text, "some");
    EXPECT_EQ(read.time, 1min);
    EXPECT_EQ(read.maybe, -1);
    EXPECT_EQ(read.address, 10U);
    EXPECT_EQ(read.addresses, (std::vector<std::uint64_t>{1, 256}));
    EXPECT_EQ(read.word, 2);
    EXPECT_EQ(read.size, (Size{5, 4}));
    EXPECT_EQ(read.maybeSize, (Size{1, 6}));
    EXPECT_EQ(read.sizes, (std::vector<Size>{{1, 1}, {7, 1}}));
}

TEST(FieldsTest, LeaveTheirTargetsAsTheyAreWhereTheyAreMissing)
{
    const Everything read = ReadEverything("{}");
    EXPECT_EQ(read.number, 1);
    EXPECT_EQ(read.text, "none");
    EXPECT_FALSE(read.maybe);
    EXPECT_TRUE(read.addresses.empty());
    EXPECT_EQ(read.size, (Size{3, 4}));
    EXPECT_FALSE(read.maybeSize);
    EXPECT_TRUE(read.sizes.empty());
}

TEST(FieldsTest, HaveLimits)
{
    const auto complaint = [](const std::string& text) {
        try {
            ReadEverything(text);
        } catch (const Error& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    EXPECT_EQ(complaint(R"({"number": 101})"),
              "f.json:1: number: must be a whole number between 0 and 100");
    EXPECT_EQ(complaint(R"({"maybe": 2})"),
              "f.json:1: maybe: must be a whole number between -1 and 1");
    EXPECT_EQ(complaint(R"({"text": "large"})"), "f.json:1: text: must be text of 1 to 4 bytes");
    EXPECT_EQ(complaint(R"({"sizes": [{}, {"width": 0}]})"),
              "f.json:1: sizes[1].width: must be a whole number between 1 and 9");
    EXPECT_EQ(complaint(R"({"size": {"depth": 1}})"),
              "f.json:1: size.depth: unknown field; there may be width, height");
    EXPECT_EQ(complaint(R"({"word": "three"})"), "f.json:1: word: must be one of \"one\", \"two\"");
}

}  // namespace
}  // namespace pelacon::json
