// All that speaks with BlueZ and the kernel about one adapter.
#pragma once

#include <service/linux/bluetooth/AdapterControl.h>
#include <service/linux/bluetooth/Advertisements.h>
#include <service/linux/bluetooth/Discovery.h>
#include <service/linux/bluetooth/GattCentral.h>
#include <service/linux/bluetooth/GattPeers.h>
#include <service/linux/bluetooth/KernelConnections.h>
#include <service/linux/bluetooth/Sockets.h>
#include <service/linux/bluetooth/Stack.h>

#include <functional>
#include <string>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

/// In the loop's thread.
struct Backend {
    /// The adapter by its name ("hci1"), or the first one if the name is empty. Begins to look for
    /// it; `changed` is called as AdapterControl has it.
    Backend(Loop& loop, const std::string& adapterName,
            std::function<void(const AdapterPicture&)> changed, Discovery::Callbacks scanning)
        : stack(loop, adapterName),
          adapter(stack, std::move(changed)),
          discovery(stack, std::move(scanning)),
          connections(stack, &OpenManagement),
          central(stack, discovery, connections),
          peers(central),
          advertisements(stack, &OpenManagement)
    {
        stack.Start();
    }

    static FileDescriptor OpenManagement()
    {
        return OpenSocket(HciChannel::kControl, kNoController);
    }

    Stack stack;
    AdapterControl adapter;
    Discovery discovery;
    KernelConnections connections;
    GattCentral central;
    GattPeers peers;
    Advertisements advertisements;
};

}  // namespace pelacon::service::linux_radios::bluetooth
