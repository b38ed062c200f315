#include <service/linux/dbus/Names.h>
#include <service/linux/wifi/NetworkManager.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

namespace {

constexpr const char* kService = "org.freedesktop.NetworkManager";
constexpr const char* kRoot = "/org/freedesktop";
constexpr const char* kMainPath = "/org/freedesktop/NetworkManager";
constexpr const char* kMain = "org.freedesktop.NetworkManager";
constexpr const char* kDevice = "org.freedesktop.NetworkManager.Device";
constexpr const char* kWireless = "org.freedesktop.NetworkManager.Device.Wireless";
constexpr const char* kAccessPoint = "org.freedesktop.NetworkManager.AccessPoint";
constexpr const char* kSupplicant = "fi.w1.wpa_supplicant1";

constexpr std::uint32_t kActivated = 100;

/// Whether an interface of its objects is read here.
bool IsRead(const std::string& interface)
{
    return interface == kMain || interface == kDevice || interface == kWireless ||
           interface == kAccessPoint;
}

/// Whether a property of these interfaces is read here. Others change often, such as the strength
/// of each network in reach.
bool IsRead(const dbus::Properties& properties)
{
    constexpr std::array<std::string_view, 9> kRead{
        "Version",  "WirelessEnabled", "WirelessHardwareEnabled", "Interface",
        "Managed",  "State",           "ActiveAccessPoint",       "Ssid",
        "Frequency"};
    return std::ranges::any_of(properties, [&](const auto& property) {
        return std::ranges::count(kRead, property.first) != 0;
    });
}

}  // namespace

radio::Outcome OutcomeOf(const dbus::Error& error)
{
    const std::string_view name = error.name;
    const bool isRefusal = name == "org.freedesktop.DBus.Error.AccessDenied" ||
                           name == "org.freedesktop.NetworkManager.PermissionDenied";
    return isRefusal ? radio::Outcome::kNotPermitted : radio::Outcome::kFailed;
}

NetworkManager::NetworkManager(Loop& loop, std::function<void()> changed)
    : changed_(std::move(changed)),
      loop_(loop),
      link_(loop, kService, kRoot, static_cast<dbus::ObjectMirror::Observer&>(*this), [this] {
          supplicant_.reset();
          hasSupplicant_ = false;
          isKnown_ = true;
          changed_();
      })
{}

void NetworkManager::Start()
{
    link_.Start();
    patience_ = loop_.After(kPatience, [this] {
        if (!isKnown_) {
            Look();
        }
    });
}

const dbus::Properties* NetworkManager::Main() const
{
    return IsThere() ? link_.Mirror().Find(kMainPath, kMain) : nullptr;
}

std::string NetworkManager::Version() const
{
    const auto* const main = Main();
    return main != nullptr ? dbus::Find<std::string>(*main, "Version").value_or("") : "";
}

bool NetworkManager::IsOn() const
{
    const auto* const main = Main();
    return main != nullptr && dbus::Find<bool>(*main, "WirelessEnabled").value_or(false) &&
           !IsBlocked();
}

bool NetworkManager::IsBlocked() const
{
    const auto* const main = Main();
    return main != nullptr && !dbus::Find<bool>(*main, "WirelessHardwareEnabled").value_or(true);
}

/// The path of a device's object; null if it has none for the interface.
const std::string* NetworkManager::DeviceOf(const std::string& interface) const
{
    if (IsThere()) {
        for (const auto& [path, interfaces] : link_.Mirror().All()) {
            const auto device = interfaces.find(kDevice);
            if (device != interfaces.end() &&
                dbus::Find<std::string>(device->second, "Interface") == interface) {
                return &path;
            }
        }
    }
    return nullptr;
}

bool NetworkManager::Manages(const std::string& interface) const
{
    const std::string* const path = DeviceOf(interface);
    return path != nullptr &&
           dbus::Find<bool>(*link_.Mirror().Find(*path, kDevice), "Managed").value_or(false);
}

std::optional<NetworkManager::Network> NetworkManager::NetworkOf(const std::string& interface) const
{
    const std::string* const path = DeviceOf(interface);
    if (path == nullptr) {
        return std::nullopt;
    }
    const dbus::ObjectMirror& mirror = link_.Mirror();
    const auto* const wireless = mirror.Find(*path, kWireless);
    const auto state = dbus::Find<std::uint32_t>(*mirror.Find(*path, kDevice), "State");
    if (wireless == nullptr || state != kActivated) {
        return std::nullopt;
    }
    const auto active = dbus::Find<dbus::ObjectPath>(*wireless, "ActiveAccessPoint");
    const auto* const accessPoint = active ? mirror.Find(active->text, kAccessPoint) : nullptr;
    if (accessPoint == nullptr) {
        return std::nullopt;
    }
    const auto ssid = dbus::Find<dbus::Bytes>(*accessPoint, "Ssid").value_or(dbus::Bytes());
    return Network{{ssid.begin(), ssid.end()},
                   dbus::Find<std::uint32_t>(*accessPoint, "Frequency").value_or(0)};
}

void NetworkManager::Switch(bool on, Done done)
{
    switching_ = link_.GetBus().Call(
        {link_.Mirror().Owner(), kMainPath, dbus::kProperties, "Set"},
        {kMain, "WirelessEnabled", dbus::InVariant(on)},
        [this, done = std::move(done)](const dbus::Reply& reply) {
            const auto call = std::exchange(switching_, {});  // until the end of this function
            done(reply.IsError() ? OutcomeOf(*reply.error) : radio::Outcome::kDone);
        });
}

void NetworkManager::Look()
{
    isKnown_ = true;
    changed_();
}

void NetworkManager::Appeared()
{
    supplicant_.reset();
    hasSupplicant_ = false;
    Look();
}

void NetworkManager::Vanished()
{
    supplicant_.emplace(link_.GetBus(), kSupplicant, [this](const std::string& owner) {
        hasSupplicant_ = !owner.empty();
        Look();
    });
    if (isKnown_) {
        changed_();
    }
}

void NetworkManager::Added(const std::string& /*path*/, const std::string& interface)
{
    if (isKnown_ && IsRead(interface)) {
        changed_();
    }
}

void NetworkManager::Removed(const std::string& /*path*/, const std::string& interface,
                             const dbus::Properties& /*last*/)
{
    if (IsRead(interface)) {
        changed_();
    }
}

void NetworkManager::Changed(const std::string& /*path*/, const std::string& interface,
                             const dbus::Properties& changed)
{
    if (IsRead(interface) && IsRead(changed)) {
        changed_();
    }
}

}  // namespace pelacon::service::linux_radios::wifi
