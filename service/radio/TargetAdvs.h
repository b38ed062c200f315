// Receiving targeted advertisements.
#pragma once

#include <service/base/Interface.h>
#include <service/base/Observers.h>

#include <array>
#include <cstdint>
#include <functional>
#include <utility>

namespace pelacon::service::radio {

struct TargetAdv {
    std::int32_t business = 0;
    std::array<std::uint8_t, 36> data{};
};

class TargetAdvs : public Interface {
  public:
    /// The observer is called with each received advertisement. It must live as long as the radio.
    void Observe(std::function<void(const TargetAdv&)> observer)
    {
        observers_.Add(std::move(observer));
    }

  protected:
    Observers<TargetAdv> observers_;
};

}  // namespace pelacon::service::radio
