// The radios of one machine.
#pragma once

#include <json/Output.h>
#include <service/base/Interface.h>
#include <service/radio/Adapter.h>
#include <service/radio/Advertiser.h>
#include <service/radio/Errors.h>
#include <service/radio/GattClient.h>
#include <service/radio/GattServer.h>
#include <service/radio/Groups.h>
#include <service/radio/Phone.h>
#include <service/radio/Scanner.h>
#include <service/radio/TargetAdvs.h>
#include <service/radio/Wifi.h>
#include <service/radio/WifiCards.h>

#include <functional>
#include <memory>
#include <string>

namespace pelacon::service {

class Commands;
class Scheduler;

namespace radio {

/// The radios that the families use: simulated or real ones. Families know only these interfaces.
///
/// Rules for implementations:
/// - The scheduler's lock is held in all calls, in both directions. A thread of the radios takes it
///   with Scheduler::Lock before it calls an observer or sets a Completion.
/// - No call waits for anything outside the process, since every client waits while the lock is
///   held. A result that takes time is a Completion, or the argument of a function that is called
///   later.
/// - What a call begins may succeed within the call. Unless the interface says otherwise, it fails
///   or ends by itself only later, when the caller has the object that the call returns (an
///   advertisement, a scan).
/// - An observer may destroy the object that it is called about (a connection, an advertisement),
///   and others; the radio does not touch the object afterwards.
/// - A handler waits for a limited time, shorter than its client does, and then destroys what it
///   has begun or does without the result. A result that comes later is ignored.
/// - Nothing is called any more after Release, and once Scheduler::IsStopping: neither an observer
///   nor a function that was passed for a result.
/// - What the radio cannot do is refused, with the reason.
class Radios : public Interface {
  public:
    virtual Adapter& GetAdapter() = 0;
    virtual Scanner& GetScanner() = 0;
    virtual Advertiser& GetAdvertiser() = 0;
    virtual TargetAdvs& GetTargetAdvs() = 0;
    virtual GattClient& GetGattClient() = 0;
    virtual GattServer& GetGattServer() = 0;
    virtual Wifi& GetWifi() = 0;
    virtual Groups& GetGroups() = 0;
    virtual Groups& GetSoftAp() = 0;
    virtual Phone& GetPhone() = 0;
    virtual WifiCards& GetWifiCards() = 0;
    virtual Errors& GetErrors() = 0;

    /// Whether the state of the machine is known. It is not while the radios still look at it for
    /// the first time; they call Scheduler::Wake when it is, also if there is nothing to be found.
    virtual bool IsKnown() const { return true; }

    /// For operators: of Bluetooth and of Wi-Fi, which stack there is and how it is used.
    virtual json::Output Describe() const = 0;

    /// Adds the operators' commands of these radios, if they have any.
    virtual void AddCommands(Commands& /*commands*/) {}

    /// The service ends or restarts. The radios stop sending and calling observers; they may be
    /// destroyed later than others are created. The default is for radios that have no effect
    /// outside the process.
    virtual void Release() {}
};

/// Creates radios; called with the scheduler's lock held. Threads, sockets and whatever else must
/// not be destroyed with that lock held belong to the factory itself: it is destroyed without the
/// lock, after all radios and before the scheduler. `stateFile` is where the service keeps what
/// outlives it, empty if nowhere; radios may have files of their own beside it.
using Factory =
    std::function<std::unique_ptr<Radios>(Scheduler& scheduler, const std::string& stateFile)>;

}  // namespace radio
}  // namespace pelacon::service
