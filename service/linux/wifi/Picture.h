// What is known of the machine's Wi-Fi at one moment.
#pragma once

#include <service/linux/wifi/KernelMirror.h>
#include <service/linux/wifi/NetworkManager.h>
#include <service/linux/wifi/Rfkill.h>
#include <service/radio/Wifi.h>
#include <service/radio/WifiCards.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

struct Picture {
    bool isThere = false;  ///< the adapter: the chosen card, or the first one
    bool isOn = false;
    bool isBlocked = false;  ///< by a switch that only people can reach
    std::uint32_t card = 0;  ///< the adapter's number
    std::uint64_t address = 0;
    std::string interface;  ///< "wlan0"; empty if the card has none for a station
    std::vector<radio::Wifi::Channel> channels;
    std::optional<radio::Wifi::Connection> connection;
    std::vector<radio::CardState> cards;  ///< the adapter is the first one
    std::vector<radio::WifiInterface> interfaces;
    std::string coexistence;

    bool operator==(const Picture&) const = default;
};

/// Puts pictures together from what the parts of the system report. In the loop's thread.
class PictureMaker {
  public:
    /// The permanent address of a card, 0 if it is not known.
    using AddressOf = std::function<std::uint64_t(const std::string& card)>;

    /// The adapter is the card of the interface `wanted`, or the first one, as long as it is there,
    /// if the name is empty. The others outlive this.
    PictureMaker(const KernelMirror& kernel, const Rfkill& rfkill, const NetworkManager& manager,
                 std::string wanted, AddressOf addressOf);

    Picture Make();

  private:
    const Card* FindAdapter();
    const CardInterface* InterfaceOf(const Card& card) const;
    bool IsOn(const Card& card) const;
    std::uint64_t AddressOfCard(const Card& card);
    std::optional<radio::Wifi::Connection> ConnectionOf(const CardInterface& interface) const;
    void AddInterfaces(Picture& picture);

    const KernelMirror& kernel_;
    const Rfkill& rfkill_;
    const NetworkManager& manager_;
    std::string wanted_;
    AddressOf addressOf_;
    std::map<std::uint32_t, std::uint64_t> addresses_;  // by the numbers of cards, which are unique
    std::optional<std::uint32_t> adapter_;  // the number of the card, if no name is given
};

/// As the kernel shows it in its file system.
std::uint64_t PermanentAddressOf(const std::string& card);

/// The GUID of an interface: the same for the same card and name. It has the form of version 8,
/// which leaves the contents to its maker.
std::string GuidOf(std::uint64_t address, const std::string& interface);

}  // namespace pelacon::service::linux_radios::wifi
