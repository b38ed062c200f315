#include <service/linux/bluetooth/GattPeers.h>

#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

GattPeers::GattPeers(GattCentral& central) : central_(central), stack_(central.stack)
{
    stack_.Add(*this);
}

GattPeers::~GattPeers()
{
    stack_.Remove(*this);
}

std::vector<std::uint64_t> GattPeers::All() const
{
    std::vector<std::uint64_t> all;
    for (const auto& [peer, state] : peers_) {
        all.push_back(peer);
    }
    return all;
}

std::optional<std::uint64_t> GattPeers::Note(const std::string& device, std::int32_t mtu)
{
    const auto found = stack_.Adapter() ? bluez::DeviceAt(stack_.Mirror(), device) : std::nullopt;
    if (!found || found->adapter != stack_.Adapter()->path) {
        return std::nullopt;
    }
    const std::uint64_t peer = found->address;
    if (!IsConnected(peer)) {
        Connected(peer);
    }
    Peer& noted = peers_.at(peer);
    noted.isSeen |= found->isConnected;
    if (mtu >= kSmallestMtu && std::exchange(noted.mtu, mtu) != mtu) {
        observers_.ForEach([&](Observer& observer) { observer.PeerMtuChanged(peer, mtu); });
    }
    return peer;
}

void GattPeers::Connected(std::uint64_t peer)
{
    peers_.emplace(peer, Peer());
    observers_.ForEach([&](Observer& observer) { observer.PeerConnected(peer); });
}

void GattPeers::ObjectAdded(const std::string&, const std::string& interface)
{
    if (interface == bluez::kDevice) {
        LookLater();
    }
}

void GattPeers::ObjectRemoved(const std::string&, const std::string& interface,
                              const dbus::Properties&)
{
    if (interface == bluez::kDevice) {
        LookLater();
    }
}

void GattPeers::ObjectChanged(const std::string&, const std::string& interface,
                              const dbus::Properties& changed)
{
    if (interface == bluez::kDevice &&
        (changed.contains("Connected") || changed.contains("ServicesResolved"))) {
        LookLater();
    }
}

/// Later, so that the kernel's events, which may be read after BlueZ's signals, are known.
void GattPeers::LookLater()
{
    later_ = stack_.GetLoop().After(Loop::Duration::zero(), [this] { Look(); });
}

void GattPeers::Look()
{
    std::map<std::uint64_t, bool> known;  // and whether they are connected
    std::vector<std::uint64_t> come;
    if (stack_.Adapter()) {
        for (const auto& device : bluez::Devices(stack_.Mirror(), stack_.Adapter()->path)) {
            known.emplace(device.address, device.isConnected);
            if (device.isConnected && !IsConnected(device.address) && HasComeByItself(device)) {
                come.push_back(device.address);
            }
        }
    }
    for (auto next = peers_.begin(); next != peers_.end();) {
        const auto device = known.find(next->first);
        const bool isConnected = device != known.end() && device->second;
        const bool isThere = isConnected || (device != known.end() && !next->second.isSeen);
        if (isThere) {
            next->second.isSeen = isConnected;
            ++next;
            continue;
        }
        const std::uint64_t peer = next->first;
        next = peers_.erase(next);
        observers_.ForEach([&](Observer& observer) { observer.PeerDisconnected(peer); });
    }
    for (const std::uint64_t peer : come) {
        Connected(peer);
        peers_.at(peer).isSeen = true;
    }
}

bool GattPeers::HasComeByItself(const bluez::Device& device) const
{
    if (const auto connection = central_.connections.Find(device.address)) {
        return !connection->isByUs && connection->type != AddressType::kClassic;
    }
    return device.isLeOnly && !central_.shared.contains(device.address) &&
           !central_.IsLeaving(device.address);
}

}  // namespace pelacon::service::linux_radios::bluetooth
