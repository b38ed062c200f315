// Receiving targeted advertisements.
#pragma once

#include <PelaconSDK/BleScanner.h>
#include <service/base/Interface.h>
#include <service/base/Observers.h>

#include <functional>
#include <utility>

namespace pelacon::service::radio {

using TargetAdv = TargetAdvInfo;

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
