// The phone that this machine is paired with, as far as the radios know it.
#pragma once

#include <service/base/Interface.h>
#include <service/base/Observers.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::radio {

class Phone : public Interface {
  public:
    /// The model's name; empty if it is not known.
    virtual const std::string& Model() const = 0;

    /// The Wi-Fi channels that it supports, as far as they are known.
    virtual const std::vector<std::int32_t>& Channels() const = 0;

    /// The channel of its Wi-Fi connection; 0 if it has none.
    virtual std::int32_t ConnectionChannel() const = 0;

    /// The observer is called on each change of that channel. It must live as long as the radios.
    void Observe(std::function<void(std::int32_t channel)> observer)
    {
        channelObservers_.Add(std::move(observer));
    }

  protected:
    Observers<std::int32_t> channelObservers_;
};

}  // namespace pelacon::service::radio
