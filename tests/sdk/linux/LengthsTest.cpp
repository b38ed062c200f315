// Wrong lengths from an application: the library never reads beyond its buffer. The buffers here
// end at a page that cannot be read.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/SdkTest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string_view>

namespace pelacon::test {

namespace {

constexpr std::uint32_t kHuge = 0xFFFFFFFF;
constexpr std::int32_t kHugeSigned = std::numeric_limits<std::int32_t>::max();

/// A page whose successor cannot be read.
class LastPage {
  public:
    LastPage() : size_(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
    {
        void* const pages =
            mmap(nullptr, 2 * size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (pages == MAP_FAILED) {
            throw std::runtime_error("no pages");
        }
        begin_ = static_cast<std::uint8_t*>(pages);
        mprotect(begin_ + size_, size_, PROT_NONE);
    }
    ~LastPage() { munmap(begin_, 2 * size_); }
    LastPage(const LastPage&) = delete;
    LastPage& operator=(const LastPage&) = delete;

    /// These characters, without a NUL, at the page's end.
    template <typename Byte = std::uint8_t>
    Byte* End(std::string_view text) const
    {
        std::uint8_t* const start = begin_ + size_ - text.size();
        std::memcpy(start, text.data(), text.size());
        return reinterpret_cast<Byte*>(start);
    }

  private:
    std::size_t size_;
    std::uint8_t* begin_ = nullptr;
};

class LengthsTest : public SdkTest {
  protected:
    LastPage page;
};

TEST_F(LengthsTest, OfAdvertisingData)
{
    const BleAdvertiseParamsC params{};
    const std::uint8_t* const data = page.End("abc");
    for (const std::uint32_t length : {32U, kHuge}) {
        const BleAdvertiseDataC advertising{length, data, 0, nullptr};
        EXPECT_EQ(BleStartAdvertise(1, &params, &advertising), kBleStatusDataTooLong);
        const BleAdvertiseDataC response{3, data, length, data};
        EXPECT_EQ(BleStartAdvertise(1, &params, &response), kBleStatusDataTooLong);
    }
}

TEST_F(LengthsTest, OfAName)
{
    EXPECT_EQ(SetBtName(page.End<const char>("name"), kHugeSigned), kBleStatusFailed);
    EXPECT_EQ(LogLines::All().back(), Line(4, "name too long:2147483647", "BleManager::SetBtName"));
}

TEST_F(LengthsTest, OfAValueToWrite)
{
    for (const std::uint32_t length : {1025U, kHuge}) {
        EXPECT_EQ(BleGattClientWriteCharacteristic(1, "180d", "2a37", page.End("abc"), length),
                  kBleStatusFailed);
    }
}

TEST_F(LengthsTest, OfAValueToNotify)
{
    for (const std::uint32_t length : {1025U, kHuge}) {
        EXPECT_EQ(BleGattServerPublishNotify(1, 2, "2a37", page.End("abc"), length, 3),
                  kBleStatusDataTooLong);
    }
}

TEST_F(LengthsTest, OfTheNameOfAnInterface)
{
    char guid[39] = {};
    EXPECT_EQ(GetGuidByInterfaceName(page.End<const char>("wlan0"), kHugeSigned, sizeof guid, guid),
              kWifiFailed);

    Vod2dSetUpperScene(page.End<char>({"wlan0", 6}), kHugeSigned, {});
    EXPECT_THAT(channel.OnlyRequest(),
                RequestIs(0xD70080, Bytes().Text("wlan0", 32).I32(kHugeSigned).Zeros(20), 5000));
}

}  // namespace

}  // namespace pelacon::test
