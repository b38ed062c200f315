// Errors that no request caused.
#pragma once

#include <PelaconSDK/ErrorListener.h>
#include <service/base/Interface.h>
#include <service/base/Observers.h>

#include <cstdint>
#include <functional>
#include <utility>

namespace pelacon::service::radio {

/// Connection errors that happen without a request.
class Errors : public Interface {
  public:
    /// Codes that programs have names for. There may be others.
    static constexpr std::int32_t kGroupExists = kConnectGoAlreadyExist;
    static constexpr std::int32_t kBleSendFailed = kConnectBleSendFail;

    /// The observer is called with each error's code. It must live as long as the radios.
    void Observe(std::function<void(std::int32_t code)> observer)
    {
        observers_.Add(std::move(observer));
    }

  protected:
    Observers<std::int32_t> observers_;
};

}  // namespace pelacon::service::radio
