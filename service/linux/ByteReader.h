// Reads records of little-endian fields from bytes that may be wrong.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace pelacon::service::linux_radios {

/// Takes fields from the front. Once a field is missing, everything that is read is zero or empty,
/// and IsBroken returns true: a decoder needs one check, at its end.
class ByteReader {
  public:
    explicit ByteReader(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

    template <std::unsigned_integral Number>
    Number Take()
    {
        Number number = 0;
        const auto bytes = TakeBytes(sizeof(Number));
        for (std::size_t i = bytes.size(); i > 0; --i) {
            number = static_cast<Number>(static_cast<std::uint64_t>(number) << 8U | bytes[i - 1]);
        }
        return number;
    }

    /// Empty if there are fewer.
    std::span<const std::uint8_t> TakeBytes(std::size_t count)
    {
        if (count > rest_.size()) {
            isBroken_ = true;
            rest_ = {};
            return {};
        }
        const auto taken = rest_.first(count);
        rest_ = rest_.subspan(count);
        return taken;
    }

    std::span<const std::uint8_t> Rest() const noexcept { return rest_; }
    bool IsBroken() const noexcept { return isBroken_; }

  private:
    std::span<const std::uint8_t> rest_;
    bool isBroken_ = false;
};

/// Adds a number's bytes, the lowest first.
template <std::unsigned_integral Number>
void AppendNumber(std::vector<std::uint8_t>& bytes, Number number)
{
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
        bytes.push_back(
            static_cast<std::uint8_t>(static_cast<std::uint64_t>(number) >> (8U * i) & 0xFFU));
    }
}

}  // namespace pelacon::service::linux_radios
