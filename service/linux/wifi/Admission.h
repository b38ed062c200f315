// Whether a card can have one more access point.
#pragma once

#include <service/linux/wifi/KernelMirror.h>
#include <service/linux/wifi/Nl80211.h>

#include <cstdint>

namespace pelacon::service::linux_radios::wifi {

enum class Admission : std::uint8_t {
    kYes,
    kOnOtherChannels,  ///< its other interfaces are on as many channels as it can be on
    kNo,               ///< not beside its other interfaces
};

/// For an access point on this frequency, beside those of the interfaces that are on a network.
Admission AdmissionOf(const Card& card, const KernelMirror::Interfaces& others,
                      std::uint32_t frequency);

}  // namespace pelacon::service::linux_radios::wifi
