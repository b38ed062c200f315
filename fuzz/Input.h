// A fuzzer's bytes, as the values that a target needs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace pelacon::fuzz {

/// Ends the process if the condition does not hold, which the fuzzer reports.
inline void Require(bool condition)
{
    if (!condition) {
        std::abort();
    }
}

/// Values are taken from the front. Without bytes left, they are zero or empty.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : left_(data, size) {}

    bool IsEmpty() const noexcept { return left_.empty(); }

    template <typename Number>
    requires(std::is_integral_v<Number>) Number Take()
    {
        const std::span<const std::uint8_t> bytes = Cut(sizeof(Number));
        Number number = 0;
        if (!bytes.empty()) {
            std::memcpy(&number, bytes.data(), bytes.size());
        }
        return number;
    }

    /// As many bytes as there are, up to this number.
    std::vector<std::uint8_t> Bytes(std::size_t most)
    {
        const std::span<const std::uint8_t> bytes = Cut(most);
        return {bytes.begin(), bytes.end()};
    }

    /// Bytes whose number is taken from the input, too.
    std::vector<std::uint8_t> SomeBytes() { return Bytes(Take<std::uint16_t>()); }

    std::string Text(std::size_t most)
    {
        const std::span<const std::uint8_t> bytes = Cut(most);
        return {bytes.begin(), bytes.end()};
    }

    /// All that is left.
    std::vector<std::uint8_t> Rest() { return Bytes(left_.size()); }

  private:
    std::span<const std::uint8_t> Cut(std::size_t most)
    {
        const std::span<const std::uint8_t> front = left_.first(std::min(most, left_.size()));
        left_ = left_.subspan(front.size());
        return front;
    }

    std::span<const std::uint8_t> left_;
};

/// Reads all of these bytes, so that AddressSanitizer reports those that must not be read.
inline void Consume(const void* data, std::size_t size)
{
    volatile std::uint8_t sum = 0;
    const auto* const bytes = static_cast<const std::uint8_t*>(data);
    for (std::size_t i = 0; i < size; ++i) {
        sum = static_cast<std::uint8_t>(sum + bytes[i]);
    }
}

/// The same for a text, which must be terminated.
inline void ConsumeText(const char* text)
{
    Consume(text, std::strlen(text));
}

}  // namespace pelacon::fuzz
