// Messages of generic netlink as the kernel sends them, put together byte by byte.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::tests {

using Octets = std::vector<std::uint8_t>;

template <typename Number>
Octets OctetsOf(Number number)
{
    Octets octets(sizeof number);
    std::memcpy(octets.data(), &number, sizeof number);
    return octets;
}

inline Octets operator+(Octets one, const Octets& other)
{
    one.insert(one.end(), other.begin(), other.end());
    return one;
}

/// An attribute, padded to a multiple of four bytes.
inline Octets Attribute(std::uint16_t type, const Octets& content = {})
{
    constexpr std::size_t kHeader = 4;
    Octets octets =
        OctetsOf(static_cast<std::uint16_t>(kHeader + content.size())) + OctetsOf(type) + content;
    octets.resize((octets.size() + 3) / 4 * 4);
    return octets;
}

inline Octets Attribute(std::uint16_t type, const std::string& text)
{
    return Attribute(type, Octets(text.begin(), text.end()) + Octets{0});
}

inline Octets Attribute(std::uint16_t type, std::uint32_t number)
{
    return Attribute(type, OctetsOf(number));
}

/// One that has others in it, marked as the kernel marks it.
inline Octets Nest(std::uint16_t type, const Octets& attributes)
{
    constexpr std::uint16_t kNested = 0x8000;
    return Attribute(type | kNested, attributes);
}

/// A list: its elements are numbered from 0.
inline Octets List(std::uint16_t type, const std::vector<Octets>& elements)
{
    Octets content;
    std::uint16_t number = 0;
    for (const Octets& element : elements) {
        content = content + Nest(number++, element);
    }
    return Nest(type, content);
}

/// A whole message. The type is the family's number, or one of netlink's own.
inline Octets NetlinkMessage(std::uint16_t type, std::uint32_t sequence, const Octets& content,
                             std::uint16_t flags = 0)
{
    constexpr std::uint32_t kHeader = 16;
    return OctetsOf(static_cast<std::uint32_t>(kHeader + content.size())) + OctetsOf(type) +
           OctetsOf(flags) + OctetsOf(sequence) + OctetsOf(std::uint32_t{0}) + content;
}

inline Octets FamilyMessage(std::uint16_t family, std::uint32_t sequence, std::uint8_t command,
                            const Octets& attributes, std::uint16_t flags = 0)
{
    return NetlinkMessage(family, sequence, Octets{command, 1, 0, 0} + attributes, flags);
}

/// An acknowledgement, or a refusal with this errno.
inline Octets Acknowledgement(std::uint32_t sequence, int error = 0)
{
    constexpr std::uint16_t kError = 2;
    return NetlinkMessage(kError, sequence, OctetsOf(-error) + Octets(16));
}

/// The end of a dump, which may have broken off with this errno.
inline Octets EndOfDump(std::uint32_t sequence, std::uint16_t flags = 0, int error = 0)
{
    constexpr std::uint16_t kDone = 3;
    return NetlinkMessage(kDone, sequence, OctetsOf(-error), flags);
}

}  // namespace pelacon::service::linux_radios::tests
