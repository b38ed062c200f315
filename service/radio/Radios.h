// All radios of one machine.
#pragma once

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

/// The radios that the families drive: simulated ones, or those of a real machine. A family sees
/// nothing of them but these interfaces.
class Radios {
  public:
    Radios() = default;
    virtual ~Radios() = default;
    Radios(const Radios&) = delete;
    Radios& operator=(const Radios&) = delete;

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

    /// Adds operators' commands that these radios have.
    virtual void AddCommands(Commands& /*commands*/) {}

    /// The service ends or restarts: nothing is sent any more, and no observer is called. Other
    /// radios may be made before these are destroyed. Nothing to do for radios that have no effect
    /// outside the process.
    virtual void Release() {}
};

/// Makes radios, under the scheduler's lock. What outlives them and must not be destroyed under
/// that lock (threads, sockets) belongs to the factory, which is destroyed after them without the
/// lock.
using Factory = std::function<std::unique_ptr<Radios>(Scheduler& scheduler)>;

}  // namespace radio
}  // namespace pelacon::service
