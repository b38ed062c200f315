// The Wi-Fi hardware of a machine: its cards, and the network interfaces on them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace pelacon::service::radio {

/// The values are those of WifiCardState in the public headers.
enum class CardState : std::int32_t { kAbsent = 0, kOff = 1, kOn = 2 };

struct WifiInterface {
    std::string name;
    std::string guid;  ///< with its braces
    std::int32_t index = 0;
};

/// Called under the world's lock, and calls back under it.
class WifiCards {
  public:
    static constexpr std::size_t kMostCards = 5;

    using CardObserver = std::function<void(std::size_t card)>;

    WifiCards() = default;
    virtual ~WifiCards() = default;
    WifiCards(const WifiCards&) = delete;
    WifiCards& operator=(const WifiCards&) = delete;

    /// By number; kMostCards at most. The first is the adapter that everything else is about.
    virtual const std::vector<CardState>& States() const = 0;

    virtual const std::vector<WifiInterface>& Interfaces() const = 0;

    /// Which kinds of interfaces can work side by side, as text of 256 bytes at most.
    virtual const std::string& Coexistence() const = 0;

    /// Has the observer told of each change, after those who came before it. Observers live as long
    /// as the hardware.
    virtual void Observe(CardObserver observer) = 0;
};

}  // namespace pelacon::service::radio
