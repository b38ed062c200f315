#include <PelaconSDK/BleScanner.h>
#include <tests/support/Bytes.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <random>
#include <vector>

namespace pelacon::test {

namespace {

/// Where a reader pointed, as an offset, and the length that it stored; nothing when it stored
/// nothing.
struct Answer {
    BleStatusC status = kBleStatusSuccess;
    std::ptrdiff_t offset = 0;
    std::uint32_t length = 0;

    bool operator==(const Answer&) const = default;
};

void PrintTo(const Answer& answer, std::ostream* out)
{
    *out << "status " << answer.status << ", offset " << answer.offset << ", length "
         << answer.length;
}

constexpr Answer kNotFound{kBleStatusNotFound, 0, 0};

/// Calls a reader with a copy of the bytes that ends where they end, for AddressSanitizer.
template <typename Reader>
Answer Read(const ByteVector& bytes, const Reader& reader)
{
    const auto copy = std::make_unique<std::uint8_t[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), copy.get());
    std::uint8_t untouched = 0;
    std::uint8_t* data = &untouched;
    std::uint32_t length = 0xA5A5A5A5;
    const BleStatusC status =
        reader(copy.get(), static_cast<std::uint32_t>(bytes.size()), &data, &length);
    if (status != kBleStatusSuccess) {
        EXPECT_EQ(data, &untouched);
        EXPECT_EQ(length, 0xA5A5A5A5);
        return {status, 0, 0};
    }
    return {status, data - copy.get(), length};
}

Answer ByType(const ByteVector& bytes, std::uint8_t type)
{
    return Read(bytes, [&](auto* data, auto size, auto** out, auto* length) {
        return BleGetAdvDataByType(data, size, type, out, length);
    });
}

Answer Manufacturer(const ByteVector& bytes, std::uint16_t company = 0)
{
    return Read(bytes, [&](auto* data, auto size, auto** out, auto* length) {
        return BleGetManufacturerDataByCompanyId(data, size, company, out, length);
    });
}

Answer ServiceData(const ByteVector& bytes, std::uint16_t uuid)
{
    return Read(bytes, [&](auto* data, auto size, auto** out, auto* length) {
        return BleGetServiceDataByUuid(data, size, uuid, out, length);
    });
}

TEST(AdvertisingData, NoDataHasNoFields)
{
    EXPECT_EQ(ByType({}, 1), kNotFound);
    EXPECT_EQ(Manufacturer({}), kNotFound);
    EXPECT_EQ(ServiceData({}, 0), kNotFound);
}

TEST(AdvertisingData, ALengthOfZeroIsNoData)
{
    std::uint8_t bytes[] = {2, 1, 6};
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(BleGetAdvDataByType(bytes, 0, 1, &data, &length), kBleStatusNotFound);
    EXPECT_EQ(BleGetAdvDataByType(nullptr, 0, 1, &data, &length), kBleStatusNotFound);
    EXPECT_EQ(BleGetAdvDataByType(nullptr, 31, 1, &data, &length), kBleStatusNotFound);
    EXPECT_EQ(BleGetManufacturerDataByCompanyId(nullptr, 31, 1, &data, &length),
              kBleStatusNotFound);
    EXPECT_EQ(BleGetServiceDataByUuid(nullptr, 31, 1, &data, &length), kBleStatusNotFound);
    EXPECT_EQ(data, nullptr);
}

TEST(AdvertisingData, NullOutputsAreRefused)
{
    std::uint8_t bytes[] = {2, 1, 6};
    std::uint8_t* data = nullptr;
    std::uint32_t length = 0;
    EXPECT_EQ(BleGetAdvDataByType(bytes, 3, 1, nullptr, &length), kBleStatusFailed);
    EXPECT_EQ(BleGetAdvDataByType(bytes, 3, 1, &data, nullptr), kBleStatusFailed);
    EXPECT_EQ(BleGetManufacturerDataByCompanyId(bytes, 3, 1, nullptr, &length), kBleStatusFailed);
    EXPECT_EQ(BleGetManufacturerDataByCompanyId(bytes, 3, 1, &data, nullptr), kBleStatusFailed);
    EXPECT_EQ(BleGetServiceDataByUuid(bytes, 3, 1, nullptr, &length), kBleStatusFailed);
    EXPECT_EQ(BleGetServiceDataByUuid(bytes, 3, 1, &data, nullptr), kBleStatusFailed);
}

TEST(AdvertisingData, FlagsAndManufacturer)
{
    const ByteVector bytes = {0x02, 0x01, 0x06, 0x03, 0xFF, 0x34, 0x12};
    EXPECT_EQ(ByType(bytes, 0x01), (Answer{kBleStatusSuccess, 2, 1}));
    EXPECT_EQ(ByType(bytes, 0xFF), (Answer{kBleStatusSuccess, 5, 2}));
    for (const auto company : std::initializer_list<std::uint16_t>{0x0000, 0x1234, 0xFFFF}) {
        EXPECT_EQ(Manufacturer(bytes, company), (Answer{kBleStatusSuccess, 7, 0}));
    }
    EXPECT_EQ(ByType(bytes, 0x09), kNotFound);
}

TEST(AdvertisingData, TheFirstStructureOfATypeWins)
{
    const ByteVector bytes = {2, 0x0A, 5, 3, 0x0A, 6, 7, 5, 0xFF, 1, 2, 3, 4, 4, 0xFF, 9, 9, 9};
    EXPECT_EQ(ByType(bytes, 0x0A), (Answer{kBleStatusSuccess, 2, 1}));
    EXPECT_EQ(Manufacturer(bytes, 0x0909), (Answer{kBleStatusSuccess, 11, 2}))
        << "whatever its company";
}

TEST(AdvertisingData, ServiceDataReadsItsFirstStructureOnly)
{
    const ByteVector bytes = {0x03, 0x16, 0x0F, 0x18, 0x05, 0x16, 0x0D, 0x18, 0xAA, 0xBB};
    EXPECT_EQ(ServiceData(bytes, 0x180D), kNotFound);
    EXPECT_EQ(ServiceData(bytes, 0x180F), (Answer{kBleStatusSuccess, 4, 0}));
    const ByteVector other = {0x02, 0x01, 0x06, 0x05, 0x16, 0x0D, 0x18, 0xAA, 0xBB};
    EXPECT_EQ(ServiceData(other, 0x180D), (Answer{kBleStatusSuccess, 7, 2}));
    EXPECT_EQ(ServiceData(other, 0x0D18), kNotFound) << "little-endian";
}

TEST(AdvertisingData, AStructureWithoutData)
{
    EXPECT_EQ(ByType({1, 0x09}, 0x09), (Answer{kBleStatusSuccess, 2, 0}));
    EXPECT_EQ(ByType({1, 0x09, 2, 0x0A, 4}, 0x0A), (Answer{kBleStatusSuccess, 4, 1}));
}

TEST(AdvertisingData, AStructureBeyondTheEndIsNotFound)
{
    EXPECT_EQ(ByType({5, 0x09, 'a'}, 0x01), kNotFound);
    EXPECT_EQ(ByType({2, 0x01, 6, 0xFF, 0x09}, 0x0A), kNotFound);
}

TEST(AdvertisingData, ALengthOfZeroAdvancesByOne)
{
    EXPECT_EQ(ByType({0, 2, 0x01, 6}, 0x01), (Answer{kBleStatusSuccess, 3, 1}));
    EXPECT_EQ(ByType({0, 0, 0, 2, 0x01, 6}, 0x01), (Answer{kBleStatusSuccess, 5, 1}));
    EXPECT_EQ(ByType({0, 0, 0}, 0x01), kNotFound);
}

TEST(AdvertisingData, AStructureOfLengthZeroMatchesTheByteBehindIt)
{
    EXPECT_EQ(ByType({0, 0x01}, 0x01), (Answer{kBleStatusSuccess, 2, 0xFFFFFFFF}));
    EXPECT_EQ(ByType({0, 0}, 0), (Answer{kBleStatusSuccess, 2, 0xFFFFFFFF}));
    EXPECT_EQ(ByType({0, 0x16, 1, 2, 3}, 0x16), (Answer{kBleStatusSuccess, 2, 0xFFFFFFFF}));
}

TEST(AdvertisingData, NeverReadsBeyondTheBuffer)
{
    EXPECT_EQ(ByType({2}, 0x01), kNotFound) << "no type byte";
    EXPECT_EQ(ByType({0}, 0x00), kNotFound) << "no type byte behind a length of 0 either";
    EXPECT_EQ(ByType({2, 0x01, 6, 1}, 0x09), kNotFound);
    EXPECT_EQ(ByType({3, 0x09, 'a'}, 0x09), kNotFound) << "its data lie outside";
    EXPECT_EQ(ByType({255, 0x09, 'a'}, 0x09), kNotFound);
    EXPECT_EQ(Manufacturer({4, 0xFF, 1, 2}), kNotFound);
    EXPECT_EQ(ServiceData({4, 0x16, 0x0D, 0x18}, 0x180D), kNotFound);
    EXPECT_EQ(ServiceData({3, 0x16, 0x0D}, 0x180D), kNotFound);
}

TEST(AdvertisingData, AStructureTooShortForItsIdentifierIsSkipped)
{
    for (const auto length : std::initializer_list<std::uint8_t>{0, 1, 2}) {
        EXPECT_EQ(Manufacturer({length, 0xFF, 1, 2, 3}), kNotFound);
        EXPECT_EQ(ServiceData({length, 0x16, 0x0D, 0x18, 3}, 0x180D), kNotFound);
    }
    // The search ends at the first structure of the type.
    EXPECT_EQ(Manufacturer({2, 0xFF, 1, 4, 0xFF, 1, 2, 3}), kNotFound);
    EXPECT_EQ(ServiceData({2, 0x16, 1, 4, 0x16, 1, 2, 3}, 0x0201), kNotFound);
}

TEST(AdvertisingData, TheLongestStructure)
{
    ByteVector bytes = {255, 0xFF};
    bytes.resize(256, 7);
    EXPECT_EQ(ByType(bytes, 0xFF), (Answer{kBleStatusSuccess, 2, 254}));
    EXPECT_EQ(Manufacturer(bytes), (Answer{kBleStatusSuccess, 4, 252}));
    bytes.pop_back();
    EXPECT_EQ(ByType(bytes, 0xFF), kNotFound);
}

// ---- Comparison with a simple reference implementation, on random buffers

/// The index of the first structure of the type; nothing if there is none.
std::optional<std::size_t> ReferenceWalk(const ByteVector& bytes, std::uint8_t type)
{
    const auto at = [&](std::size_t index) {
        return index < bytes.size() ? std::optional(bytes[index]) : std::nullopt;
    };
    for (std::size_t p = 0; at(p); p += 1 + *at(p)) {
        const std::size_t last = p + *at(p);
        if (!at(p + 1) || !at(last)) {
            return std::nullopt;
        }
        if (at(p + 1) == type) {
            return p;
        }
    }
    return std::nullopt;
}

Answer ReferenceByType(const ByteVector& bytes, std::uint8_t type)
{
    const auto p = ReferenceWalk(bytes, type);
    if (!p) {
        return kNotFound;
    }
    return {kBleStatusSuccess, static_cast<std::ptrdiff_t>(*p + 2),
            static_cast<std::uint32_t>(bytes[*p]) - 1};
}

Answer ReferenceIdentified(const ByteVector& bytes, std::uint8_t type,
                           std::optional<std::uint16_t> identifier)
{
    const auto p = ReferenceWalk(bytes, type);
    if (!p || bytes[*p] < 3) {
        return kNotFound;
    }
    if (identifier && bytes[*p + 2] + 256 * bytes[*p + 3] != *identifier) {
        return kNotFound;
    }
    return {kBleStatusSuccess, static_cast<std::ptrdiff_t>(*p + 4),
            static_cast<std::uint32_t>(bytes[*p]) - 3};
}

/// Structures that are mostly well formed, of few types, some cut short or of odd length.
ByteVector RandomBuffer(std::mt19937& random)
{
    const auto below = [&](std::uint32_t limit) {
        return static_cast<std::uint8_t>(random() % limit);
    };
    constexpr std::uint8_t kTypes[] = {0x00, 0x01, 0x09, 0x16, 0xFF};
    ByteVector bytes;
    for (std::uint8_t structures = below(6); structures > 0; --structures) {
        const std::uint8_t data = below(8);
        bytes.push_back(below(10) == 0 ? below(12) : static_cast<std::uint8_t>(data + 1));
        bytes.push_back(kTypes[below(5)]);
        for (std::uint8_t i = 0; i < data; ++i) {
            bytes.push_back(below(3));
        }
    }
    if (!bytes.empty() && below(3) == 0) {
        bytes.resize(bytes.size() - random() % bytes.size());
    }
    return bytes;
}

TEST(AdvertisingData, AgreesWithAReferenceImplementation)
{
    std::mt19937 random(20240229);
    int found = 0;
    constexpr int kRounds = 20000;
    for (int round = 0; round < kRounds; ++round) {
        const ByteVector bytes = RandomBuffer(random);
        SCOPED_TRACE(::testing::PrintToString(bytes));
        for (const auto type : std::initializer_list<std::uint8_t>{0x00, 0x01, 0x09, 0x16, 0xFF}) {
            const Answer answer = ByType(bytes, type);
            ASSERT_EQ(answer, ReferenceByType(bytes, type));
            found += answer.status == kBleStatusSuccess ? 1 : 0;
        }
        ASSERT_EQ(Manufacturer(bytes, 1), ReferenceIdentified(bytes, 0xFF, {}));
        ASSERT_EQ(ServiceData(bytes, 0x0101), ReferenceIdentified(bytes, 0x16, 0x0101));
    }
    EXPECT_GT(found, kRounds) << "most buffers hold something";
}

}  // namespace

}  // namespace pelacon::test
