// Payloads, put together field by field.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace pelacon::test {

using ByteVector = std::vector<std::uint8_t>;

/// A payload as it is sent, little-endian:
///
///     Bytes().I32(5).Text(uuid, 37).Zeros(3).U64(address)
class Bytes {
  public:
    Bytes& U8(std::uint8_t value) { return Number(value, 1); }
    Bytes& U16(std::uint16_t value) { return Number(value, 2); }
    Bytes& U32(std::uint32_t value) { return Number(value, 4); }
    Bytes& U64(std::uint64_t value) { return Number(value, 8); }
    Bytes& I32(std::int32_t value) { return U32(static_cast<std::uint32_t>(value)); }
    Bytes& I64(std::int64_t value) { return U64(static_cast<std::uint64_t>(value)); }

    Bytes& Zeros(std::size_t count) { return Fill(count, 0); }
    Bytes& Fill(std::size_t count, std::uint8_t value)
    {
        bytes_.insert(bytes_.end(), count, value);
        return *this;
    }

    /// The characters alone.
    Bytes& Text(std::string_view text)
    {
        // One by one: GCC 12 wrongly warns of an overflow in an insert of all.
        for (const char character : text) {
            U8(static_cast<std::uint8_t>(character));
        }
        return *this;
    }
    /// The characters, padded with zeros to that size.
    Bytes& Text(std::string_view text, std::size_t fieldSize)
    {
        return Text(text).PadField(text.size(), fieldSize);
    }

    Bytes& Raw(const ByteVector& bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    /// The bytes, padded with zeros to that size.
    Bytes& Raw(const ByteVector& bytes, std::size_t fieldSize)
    {
        return Raw(bytes).PadField(bytes.size(), fieldSize);
    }

    /// Zeros up to that size of the whole payload.
    Bytes& PadTo(std::size_t size) { return PadField(bytes_.size(), size); }

    std::size_t Size() const { return bytes_.size(); }

    operator const ByteVector&() const { return bytes_; }

  private:
    Bytes& Number(std::uint64_t value, int width)
    {
        for (int byte = 0; byte < width; ++byte) {
            bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * byte)));
        }
        return *this;
    }

    Bytes& PadField(std::size_t used, std::size_t size)
    {
        if (used > size) {
            throw std::invalid_argument("does not fit its field");
        }
        return Zeros(size - used);
    }

    ByteVector bytes_;
};

/// That many bytes 1, 2, 3, ..., where 0 follows 255: data whose bytes differ from their
/// neighbours.
inline ByteVector Counting(std::size_t count)
{
    ByteVector bytes(count);
    std::generate(bytes.begin(), bytes.end(),
                  [next = std::uint8_t{1}]() mutable { return next++; });
    return bytes;
}

}  // namespace pelacon::test
