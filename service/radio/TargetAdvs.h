// Targeted advertisements, as the radio receives them.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

namespace pelacon::service::radio {

struct TargetAdv {
    std::int32_t business = 0;
    std::array<std::uint8_t, 36> data{};
};

/// Called under the world's lock, and calls back under it.
class TargetAdvs {
  public:
    using Observer = std::function<void(const TargetAdv&)>;

    TargetAdvs() = default;
    virtual ~TargetAdvs() = default;
    TargetAdvs(const TargetAdvs&) = delete;
    TargetAdvs& operator=(const TargetAdvs&) = delete;

    /// Has the observer told of each that is received. Observers live as long as the radio.
    virtual void Observe(Observer observer) = 0;
};

}  // namespace pelacon::service::radio
