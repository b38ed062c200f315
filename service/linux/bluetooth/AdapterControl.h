// BlueZ's adapter: its state, its switch, its name, and the connected devices.
#pragma once

#include <service/linux/bluetooth/Stack.h>
#include <service/radio/Outcome.h>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

/// What is known of the adapter.
struct AdapterPicture {
    bool isThere = false;
    bool isOn = false;
    std::uint64_t address = 0;
    std::string name;
    /// Connected devices; true for those that are connected by LE.
    std::set<std::pair<std::uint64_t, bool>> connected;

    bool operator==(const AdapterPicture&) const = default;
};

/// In the loop's thread.
class AdapterControl : private Stack::Observer {
  public:
    using Done = std::function<void(radio::Outcome)>;

    /// `changed` is called with each new picture, also with the first one, once there is one or it
    /// is clear that there is no adapter.
    AdapterControl(Stack& stack, std::function<void(const AdapterPicture&)> changed);
    ~AdapterControl() override;

    const AdapterPicture& Picture() const noexcept { return picture_; }

    /// `done` is called once, later, unless this is destroyed before. The picture that goes with
    /// success was given to `changed` before.
    void Switch(bool on, Done done);
    void Rename(const std::string& name, Done done);

  private:
    void AdapterChanged() override { Look(); }
    void ObjectAdded(const std::string& path, const std::string& interface) override;
    void ObjectRemoved(const std::string& path, const std::string& interface,
                       const dbus::Properties& last) override;
    void ObjectChanged(const std::string& path, const std::string& interface,
                       const dbus::Properties& changed) override;

    /// A property that is to change.
    struct Change {
        dbus::Bus::Slot call;
        std::string path;
        std::function<bool(const AdapterPicture&)> isFulfilled;
        bool isAccepted = false;  // by BlueZ; the picture may not show it yet
        Done done;
        Loop::Timer limit;
    };

    void Look();
    void Set(const char* property, dbus::Value value,
             std::function<bool(const AdapterPicture&)> isFulfilled, Done done);
    void Send(std::uint64_t number, const char* property, dbus::Value value);
    void Settle();
    void Finish(std::uint64_t number, radio::Outcome outcome);

    Stack& stack_;
    std::function<void(const AdapterPicture&)> changed_;
    bool isReported_ = false;  // the first picture
    AdapterPicture picture_;
    std::uint64_t lastChange_ = 0;
    std::map<std::uint64_t, Change> changes_;
};

/// What an error of BlueZ means for an operation of an adapter.
radio::Outcome OutcomeOf(const dbus::Error& error, const std::string& adapterPath);

}  // namespace pelacon::service::linux_radios::bluetooth
