// What LibraryPeer offers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pelacon::radios_test {

inline constexpr char kService[] = "1910";
inline constexpr char kValue[] = "1911";    ///< read, write: keeps what was written last
inline constexpr char kNumbers[] = "1912";  ///< notify: 0, 1, 2, ... in the first four bytes
inline constexpr char kControl[] = "1913";  ///< write: how many numbers to send, in four bytes
inline constexpr std::size_t kNumberSize = 20;

/// Flags; complete list of 16-bit services: 1910; manufacturer data.
inline const std::vector<std::uint8_t> kAdvertisement{2, 0x01, 0x06, 3,    0x03, 0x10, 0x19,
                                                      6, 0xFF, 0x34, 0x12, 1,    2,    3};
/// Complete local name.
inline const std::vector<std::uint8_t> kScanResponse{5, 0x09, 'p', 'e', 'e', 'r'};

}  // namespace pelacon::radios_test
