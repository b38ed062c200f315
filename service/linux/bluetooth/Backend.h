// All that speaks with BlueZ and the kernel about one adapter.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/Advertisements.h>
#include <service/linux/bluetooth/Discovery.h>
#include <service/linux/bluetooth/DuplicateFilter.h>
#include <service/linux/bluetooth/GattCentral.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <service/linux/bluetooth/KernelConnections.h>
#include <service/linux/bluetooth/KernelItems.h>
#include <service/linux/bluetooth/Sockets.h>
#include <service/linux/bluetooth/Stack.h>

#include <functional>
#include <string>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

/// How the backend reaches the kernel. The members are replaced in tests.
struct KernelAccess {
    /// Called for each object that needs a management socket; throws std::system_error if it fails.
    std::function<FileDescriptor()> openManagement = [] {
        return OpenSocket(HciChannel::kControl, kNoController);
    };
    Discovery::OpenRaw openReports = &Hci::OpenReports;
    /// The file with notes on what the kernel keeps after the end of this process: KernelItems.
    std::string itemsFile;
};

/// In the loop's thread.
struct Backend {
    /// The adapter by its name ("hci1"), or the first one if the name is empty. Begins to look for
    /// it; `changed` is called as AdapterControl has it.
    Backend(Loop& loop, const std::string& adapterName,
            std::function<void(const AdapterPicture&)> changed, Discovery::Callbacks scanning,
            const KernelAccess& kernel = {})
        : stack(loop, adapterName),
          adapter(stack, std::move(changed)),
          discovery(stack, std::move(scanning), kernel.openReports),
          connections(stack, kernel.openManagement),
          central(stack, discovery, connections),
          peers(central),
          kernelItems(kernel.itemsFile),
          duplicateFilter(stack, kernelItems, kernel.openManagement),
          advertisements(stack, kernelItems, kernel.openManagement)
    {
        stack.Start();
    }

    Stack stack;
    AdapterControl adapter;
    Discovery discovery;
    KernelConnections connections;
    GattCentral central;
    GattPeers peers;
    KernelItems kernelItems;
    DuplicateFilter duplicateFilter;
    Advertisements advertisements;
};

}  // namespace pelacon::service::linux_radios::bluetooth
