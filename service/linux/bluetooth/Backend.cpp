#include <service/linux/bluetooth/Backend.h>

namespace pelacon::service::linux_radios::bluetooth {

Backend::Backend(Loop& loop, const std::string& adapterName, Callbacks callbacks,
                 const KernelAccess& kernel, Pairing pairing)
    : stack(loop, adapterName),
      adapter(stack, std::move(callbacks.adapterChanged)),
      discovery(stack, std::move(callbacks.scanning), kernel.openReports),
      connections(stack, kernel.openManagement),
      central(stack, discovery, connections),
      peers(central),
      kernelItems(kernel.itemsFile),
      duplicateFilter(stack, kernelItems, kernel.openManagement),
      advertisements(stack, kernelItems, kernel.openManagement, [this] { AdapterChanged(); }),
      changed_(std::move(callbacks.changed))
{
    if (pairing == Pairing::kByUs) {
        pairingAgent.emplace(stack);
    }
    stack.Add(*this);  // the last one, as it reports what the others made of the change
    stack.Start();
}

Backend::~Backend()
{
    stack.Remove(*this);
}

void Backend::AdapterChanged()
{
    BackendStatus status;
    status.presence = stack.GetPresence();
    if (const auto& present = stack.Adapter()) {
        status.adapter = present->path.substr(present->path.rfind('/') + 1);
        status.version = present->version;
        status.reports = discovery.GetWay();
        status.advertising = advertisements.GetWay();
    }
    if (status != status_) {
        status_ = status;
        changed_(status_);
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
