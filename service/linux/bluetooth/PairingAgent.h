// Pairs with devices on machines without a desktop.
#pragma once

#include <service/linux/bluetooth/Stack.h>
#include <service/linux/dbus/ObjectTree.h>

#include <memory>

namespace pelacon::service::linux_radios::bluetooth {

/// Who answers BlueZ when a device is to be paired.
enum class Pairing : std::uint8_t {
    kByOthers,  ///< the agent of the desktop, or nobody
    kByUs,      ///< a PairingAgent
};

/// BlueZ's agent for all pairings, in place of the desktop's: permits those that need no human, and
/// rejects those for which a number would have to be read, compared or typed in. In the loop's
/// thread.
class PairingAgent : private Stack::Observer {
  public:
    explicit PairingAgent(Stack& stack);
    ~PairingAgent() override;

  private:
    void AdapterChanged() override;
    void Register();
    dbus::ObjectTree::Handler Answer(bool isPermitted) const;

    Stack& stack_;
    std::unique_ptr<dbus::ObjectTree> object_;  // while there is an adapter
    dbus::Bus::Slot call_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
