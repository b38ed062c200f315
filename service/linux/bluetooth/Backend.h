// The objects that use one adapter through BlueZ and the kernel.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/Advertisements.h>
#include <service/linux/bluetooth/Discovery.h>
#include <service/linux/bluetooth/DuplicateFilter.h>
#include <service/linux/bluetooth/GattCentral.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <service/linux/bluetooth/KernelConnections.h>
#include <service/linux/bluetooth/KernelItems.h>
#include <service/linux/bluetooth/PairingAgent.h>
#include <service/linux/bluetooth/Sockets.h>
#include <service/linux/bluetooth/Stack.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

/// How the backend reaches the kernel. The members are replaced in tests.
struct KernelAccess {
    /// Called for each object that needs a management socket; throws std::system_error if it fails.
    std::function<FileDescriptor()> openManagement = &OpenManagementSocket;
    Discovery::OpenRaw openReports = &Hci::OpenReports;
    /// The file with notes on what the kernel keeps after the end of this process: KernelItems.
    std::string itemsFile;
};

/// What is there, and in which way it is used.
struct BackendStatus {
    Stack::Presence presence = Stack::Presence::kUnknown;
    std::string adapter;  ///< "hci0"; empty if there is none
    std::string version;  ///< of BlueZ; empty if it is not known
    Discovery::Way reports = Discovery::Way::kNone;
    Advertisements::Way advertising = Advertisements::Way::kNone;

    bool operator==(const BackendStatus&) const = default;
};

/// In the loop's thread.
class Backend : private Stack::Observer {
  public:
    struct Callbacks {
        std::function<void(const BackendStatus&)> changed;  ///< called when the status changes
        std::function<void(const AdapterPicture&)> adapterChanged;  ///< as AdapterControl has it
        Discovery::Callbacks scanning;
    };

    /// Uses the adapter with this name ("hci1"), or the first one if the name is empty. Connects to
    /// the bus.
    Backend(Loop& loop, const std::string& adapterName, Callbacks callbacks,
            const KernelAccess& kernel = {}, Pairing pairing = Pairing::kByOthers);
    ~Backend() override;

    Stack stack;  // first, as the others observe it
    AdapterControl adapter;
    Discovery discovery;
    KernelConnections connections;
    GattCentral central;
    GattPeers peers;
    KernelItems kernelItems;
    DuplicateFilter duplicateFilter;
    Advertisements advertisements;
    std::optional<PairingAgent> pairingAgent;

  private:
    void AdapterChanged() override;

    std::function<void(const BackendStatus&)> changed_;
    BackendStatus status_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
