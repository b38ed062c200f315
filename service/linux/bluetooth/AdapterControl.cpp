#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/dbus/Names.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// How long a change may take to show after BlueZ has accepted it.
constexpr std::chrono::seconds kUntilSeen{5};

/// Whether the machine's switches block a controller.
bool IsBlocked(const std::string& adapterPath)
{
    namespace fs = std::filesystem;
    const fs::path controller = fs::path("/sys/class/bluetooth") / fs::path(adapterPath).filename();
    std::error_code none;
    for (const auto& entry : fs::directory_iterator(controller, none)) {
        if (!entry.path().filename().string().starts_with("rfkill")) {
            continue;
        }
        for (const char* const kind : {"soft", "hard"}) {
            std::ifstream file(entry.path() / kind);
            int isBlocked = 0;
            if (file >> isBlocked && isBlocked != 0) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

radio::Outcome OutcomeOf(const dbus::Error& error, const std::string& adapterPath)
{
    const std::string& name = error.name;
    if (name == dbus::kAccessDenied || name == "org.bluez.Error.NotPermitted" ||
        name == "org.bluez.Error.NotAuthorized") {
        return radio::Outcome::kNotPermitted;
    }
    if (name == "org.bluez.Error.NotReady") {
        return radio::Outcome::kOff;
    }
    if (dbus::IsSilence(error) || name == "org.freedesktop.DBus.Error.UnknownObject" ||
        name == "org.freedesktop.DBus.Error.UnknownMethod") {
        return radio::Outcome::kNoAdapter;
    }
    if (name == "org.bluez.Error.Blocked" ||
        (name == "org.bluez.Error.Failed" && IsBlocked(adapterPath))) {
        return radio::Outcome::kBlocked;
    }
    return radio::Outcome::kFailed;
}

AdapterControl::AdapterControl(Stack& stack, std::function<void(const AdapterPicture&)> changed)
    : stack_(stack), changed_(std::move(changed))
{
    stack_.Add(*this);
}

AdapterControl::~AdapterControl()
{
    stack_.Remove(*this);
}

void AdapterControl::Switch(bool on, Done done)
{
    Set(
        "Powered", on, [on](const AdapterPicture& picture) { return picture.isOn == on; },
        std::move(done));
}

void AdapterControl::Rename(const std::string& name, Done done)
{
    Set(
        "Alias", name, [name](const AdapterPicture& picture) { return picture.name == name; },
        std::move(done));
}

void AdapterControl::Set(const char* property, dbus::Value value,
                         std::function<bool(const AdapterPicture&)> isFulfilled, Done done)
{
    const std::uint64_t number = ++lastChange_;
    Change& change = changes_[number];
    change.done = std::move(done);
    change.isFulfilled = std::move(isFulfilled);
    if (!stack_.Adapter()) {
        change.limit = stack_.GetLoop().After(
            Loop::Duration::zero(), [this, number] { Finish(number, radio::Outcome::kNoAdapter); });
        return;
    }
    change.path = stack_.Adapter()->path;
    try {
        Send(number, property, std::move(value));
    } catch (const std::system_error&) {  // the value is not UTF-8
        change.limit = stack_.GetLoop().After(
            Loop::Duration::zero(), [this, number] { Finish(number, radio::Outcome::kFailed); });
    }
}

void AdapterControl::Send(std::uint64_t number, const char* property, dbus::Value value)
{
    Change& change = changes_.at(number);
    change.call = stack_.Call(change.path, dbus::kProperties, "Set",
                              {bluez::kAdapter, property, dbus::InVariant(std::move(value))},
                              [this, number](const dbus::Reply& reply) {
                                  Change& asked = changes_.at(number);
                                  if (reply.IsError()) {
                                      Finish(number, OutcomeOf(*reply.error, asked.path));
                                      return;
                                  }
                                  asked.isAccepted = true;
                                  asked.limit = stack_.GetLoop().After(kUntilSeen, [this, number] {
                                      Finish(number, radio::Outcome::kFailed);
                                  });
                                  Settle();
                              });
}

/// Completes the changes that the picture shows, or that cannot take place any more.
void AdapterControl::Settle()
{
    for (auto next = changes_.begin(); next != changes_.end();) {
        const auto [number, change] = std::tie(next->first, next->second);
        ++next;
        if (!change.path.empty() && (!stack_.Adapter() || stack_.Adapter()->path != change.path)) {
            Finish(number, radio::Outcome::kNoAdapter);
        } else if (change.isAccepted && change.isFulfilled(picture_)) {
            Finish(number, radio::Outcome::kDone);
        }
    }
}

void AdapterControl::Finish(std::uint64_t number, radio::Outcome outcome)
{
    const auto change = changes_.extract(number);
    if (!change.empty()) {
        change.mapped().done(outcome);
    }
}

void AdapterControl::Look()
{
    AdapterPicture picture;
    if (const auto& adapter = stack_.Adapter()) {
        picture.isThere = true;
        picture.isOn = adapter->isOn;
        picture.address = adapter->address;
        picture.name = adapter->name;
        for (const bluez::Device& device : bluez::Devices(stack_.Mirror(), adapter->path)) {
            if (device.isConnected) {
                picture.connected.emplace(device.address, device.isLeOnly);
            }
        }
    }
    if (picture != picture_ || !isReported_) {
        picture_ = std::move(picture);
        isReported_ = true;
        changed_(picture_);
    }
    Settle();
}

// Devices come and go often. Those that are not connected are not part of the picture.
void AdapterControl::ObjectAdded(const std::string& path, const std::string& interface)
{
    const dbus::Properties* const device = stack_.Mirror().Find(path, interface);
    if (interface == bluez::kDevice && device != nullptr && bluez::IsConnected(*device)) {
        Look();
    }
}

void AdapterControl::ObjectRemoved(const std::string&, const std::string& interface,
                                   const dbus::Properties& last)
{
    if (interface == bluez::kDevice && bluez::IsConnected(last)) {
        Look();
    }
}

void AdapterControl::ObjectChanged(const std::string&, const std::string& interface,
                                   const dbus::Properties& changed)
{
    if (interface == bluez::kDevice &&
        (changed.contains("Connected") || changed.contains("ServicesResolved"))) {
        Look();
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
