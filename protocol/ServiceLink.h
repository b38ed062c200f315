// The service's restart: its announcement, and the request that the library then sends.
#pragma once

#include <protocol/Operation.h>

#include <cstddef>

namespace pelacon::protocol {

using namespace std::chrono_literals;

/// Ids that the library still holds after a restart, in ascending order; unused slots are zero.
struct RepairRequest {
    static constexpr std::size_t kSlots = 10;
    std::int32_t advertiserIds[kSlots];
    std::int32_t scannerIds[kSlots];
    std::int32_t reserved[kSlots];
};
static_assert(sizeof(RepairRequest) == 120);
static_assert(offsetof(RepairRequest, scannerIds) == 40);
static_assert(offsetof(RepairRequest, reserved) == 80);

inline constexpr Operation<RepairRequest, StatusReply> kRepairResource{0xD700A1, "RepairResource",
                                                                       10000ms};

inline constexpr Notification<Nothing> kServiceStarted{0xD700A0, "ServiceStarted"};

}  // namespace pelacon::protocol
