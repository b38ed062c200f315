// The radios of one machine.
#pragma once

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

namespace pelacon::service {

class Commands;
class Scheduler;

namespace radio {

/// The radios that the families use: simulated or real ones. Families know only these interfaces.
///
/// The scheduler's lock is held in all calls, in both directions. No call blocks: a result that
/// takes time is a Completion, or the argument of a function that is called later. An observer may
/// destroy the object that it is called about (a connection, an advertisement). Nothing is called
/// any more after Release, and once Scheduler::IsStopping.
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

    /// Adds the operators' commands of these radios, if they have any.
    virtual void AddCommands(Commands& /*commands*/) {}

    /// The service ends or restarts. The radios stop sending and calling observers; they may be
    /// destroyed later than others are created. The default is for radios that have no effect
    /// outside the process.
    virtual void Release() {}
};

/// Creates radios; called with the scheduler's lock held. Threads, sockets and whatever else must
/// not be destroyed with that lock held belong to the factory itself: it is destroyed without the
/// lock, after all radios and before the scheduler.
using Factory = std::function<std::unique_ptr<Radios>(Scheduler& scheduler)>;

}  // namespace radio
}  // namespace pelacon::service
