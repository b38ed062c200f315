// The readers of advertising data must never read outside the buffer (which AddressSanitizer
// checks, as the buffer is a copy that ends where the data end), and never return a pointer outside
// it.
#include <PelaconSDK/BleScanner.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// The result of a reader: data inside the buffer, or nothing stored.
class Answer {
  public:
    Answer(const std::uint8_t* buffer, std::size_t size) : buffer_(buffer), end_(buffer + size) {}

    std::uint8_t** Data() { return &data_; }
    std::uint32_t* Length() { return &length_; }

    void Check(BleStatusC status, bool mayHaveNoLength) const
    {
        if (status != kBleStatusSuccess) {
            Require(status == kBleStatusNotFound && data_ == nullptr && length_ == kUntouched);
            return;
        }
        Require(data_ > buffer_ && data_ <= end_);
        if (mayHaveNoLength && length_ == 0xFFFFFFFF) {
            return;  // a structure whose length byte is 0
        }
        Require(length_ <= static_cast<std::size_t>(end_ - data_));
    }

  private:
    static constexpr std::uint32_t kUntouched = 0xA5A5A5A5;

    const std::uint8_t* buffer_;
    const std::uint8_t* end_;
    std::uint8_t* data_ = nullptr;
    std::uint32_t length_ = kUntouched;
};

}  // namespace

/// The first three bytes are the type and the identifier to look for; the rest are the data.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t size)
{
    if (size < 3) {
        return 0;
    }
    const std::uint8_t type = input[0];
    const auto identifier = static_cast<std::uint16_t>(input[1] | input[2] << 8);
    const std::size_t length = size - 3;
    const auto buffer = std::make_unique<std::uint8_t[]>(length);
    std::copy_n(input + 3, length, buffer.get());
    const auto advLen = static_cast<std::uint32_t>(length);

    Answer byType(buffer.get(), length);
    byType.Check(BleGetAdvDataByType(buffer.get(), advLen, type, byType.Data(), byType.Length()),
                 true);
    Answer manufacturer(buffer.get(), length);
    manufacturer.Check(
        BleGetManufacturerDataByCompanyId(buffer.get(), advLen, identifier, manufacturer.Data(),
                                          manufacturer.Length()),
        false);
    Answer service(buffer.get(), length);
    service.Check(
        BleGetServiceDataByUuid(buffer.get(), advLen, identifier, service.Data(), service.Length()),
        false);
    return 0;
}
