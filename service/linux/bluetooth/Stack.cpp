#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/Names.h>

#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

Stack::Stack(Loop& loop, std::string adapterName, std::chrono::microseconds callLimit)
    : loop_(loop),
      adapterName_(std::move(adapterName)),
      callLimit_(callLimit),
      link_(loop, bluez::kService, "/", static_cast<dbus::ObjectMirror::Observer&>(*this),
            [this] { Look(); })
{}

/// The one that has the name; without a name, the one that is used as long as it is there.
std::optional<bluez::Adapter> Stack::WantedAdapter() const
{
    if (adapterName_.empty() && adapter_) {
        if (auto present = bluez::AdapterAt(Mirror(), adapter_->path)) {
            return present;
        }
    }
    return bluez::FindAdapter(Mirror(), adapterName_);
}

Stack::Presence Stack::WhyNoObjects() const
{
    const auto& error = Mirror().WhyUnknown();
    if (!error) {
        return Presence::kNoBluez;
    }
    return error->name == dbus::kAccessDenied ? Presence::kForbidden : Presence::kSilent;
}

/// Finds out what there is now, and reports a change.
void Stack::Look()
{
    std::optional<bluez::Adapter> adapter;
    Presence presence = Presence::kThere;
    if (!link_.IsConnected()) {
        presence = Presence::kNoBus;
    } else if (!Mirror().IsThere()) {
        presence = WhyNoObjects();
    } else {
        adapter = WantedAdapter();
        presence = adapter ? Presence::kThere : Presence::kNoAdapter;
    }
    if (adapter && adapter_ && adapter->path != adapter_->path) {
        // Another one takes its place: it goes first.
        presence_ = Presence::kNoAdapter;
        adapter_.reset();
        observers_.ForEach([](Observer& observer) { observer.AdapterChanged(); });
    }
    if (presence != presence_ || adapter != adapter_) {
        presence_ = presence;
        adapter_ = std::move(adapter);
        observers_.ForEach([](Observer& observer) { observer.AdapterChanged(); });
    }
}

void Stack::Added(const std::string& path, const std::string& interface)
{
    if (interface == bluez::kAdapter) {
        Look();
    }
    observers_.ForEach([&](Observer& observer) { observer.ObjectAdded(path, interface); });
}

void Stack::Removed(const std::string& path, const std::string& interface,
                    const dbus::Properties& last)
{
    observers_.ForEach([&](Observer& observer) { observer.ObjectRemoved(path, interface, last); });
    if (interface == bluez::kAdapter) {
        Look();
    }
}

void Stack::Changed(const std::string& path, const std::string& interface,
                    const dbus::Properties& changed)
{
    if (interface == bluez::kAdapter) {
        Look();
    }
    observers_.ForEach(
        [&](Observer& observer) { observer.ObjectChanged(path, interface, changed); });
}

dbus::Bus::Slot Stack::Call(const std::string& path, const char* interface, const char* method,
                            const dbus::Arguments& arguments, dbus::Bus::OnReply done,
                            std::optional<std::chrono::microseconds> limit)
{
    return Bus().Call({bluez::kService, path, interface, method}, arguments, std::move(done),
                      limit.value_or(callLimit_));
}

const char* TextOf(Stack::Presence presence)
{
    switch (presence) {
        case Stack::Presence::kUnknown:
            return "not known yet";
        case Stack::Presence::kNoBus:
            return "no message bus";
        case Stack::Presence::kNoBluez:
            return "no bluetoothd on the bus";
        case Stack::Presence::kForbidden:
            return "no access to bluetoothd";
        case Stack::Presence::kSilent:
            return "bluetoothd does not answer";
        case Stack::Presence::kNoAdapter:
            return "no such adapter";
        case Stack::Presence::kThere:
            break;
    }
    return "present";
}

}  // namespace pelacon::service::linux_radios::bluetooth
