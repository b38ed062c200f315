// The phone that this machine is paired with, as far as its radios hear of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pelacon::service::radio {

/// Called under the world's lock, and calls back under it.
class Phone {
  public:
    using ChannelObserver = std::function<void(std::int32_t channel)>;

    Phone() = default;
    virtual ~Phone() = default;
    Phone(const Phone&) = delete;
    Phone& operator=(const Phone&) = delete;

    /// Its model's name; empty where nobody told.
    virtual const std::string& Model() const = 0;

    /// The Wi-Fi channels that it supports, as far as it told.
    virtual const std::vector<std::int32_t>& Channels() const = 0;

    /// The channel that its Wi-Fi connection is on; 0 when it has none.
    virtual std::int32_t ConnectionChannel() const = 0;

    /// Has the observer told of each change of that channel, after those who came before it.
    /// Observers live as long as the radios.
    virtual void Observe(ChannelObserver observer) = 0;
};

}  // namespace pelacon::service::radio
