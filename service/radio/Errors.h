// Errors that no request caused.
#pragma once

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
    static constexpr std::int32_t kGroupExists = 0x10000001;
    static constexpr std::int32_t kBleSendFailed = 0x20000000;

    /// The observer is called with each error's code. It must live as long as the radios.
    void Observe(std::function<void(std::int32_t code)> observer)
    {
        observers_.Add(std::move(observer));
    }

  protected:
    Observers<std::int32_t> observers_;
};

}  // namespace pelacon::service::radio
