#include <service/linux/bluetooth/KernelConnections.h>

#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

KernelConnections::KernelConnections(Stack& stack, ManagementLink::OpenSocket open)
    : stack_(stack),
      management_(stack.GetLoop(), std::move(open),
                  [this](const ManagementEvent& event) { Heard(event); })
{
    stack_.Add(*this);
}

KernelConnections::~KernelConnections()
{
    stack_.Remove(*this);
}

std::optional<DeviceConnected> KernelConnections::Find(std::uint64_t address) const
{
    const auto found = records_.find(address);
    return found != records_.end() ? found->second.connection : std::nullopt;
}

std::optional<DeviceDisconnected::Reason> KernelConnections::WhyEnded(std::uint64_t address) const
{
    const auto found = records_.find(address);
    return found != records_.end() ? found->second.reason : std::nullopt;
}

void KernelConnections::AdapterChanged()
{
    if (!stack_.Adapter()) {
        records_.clear();
    } else {
        management_.Open();
    }
}

void KernelConnections::Heard(const ManagementEvent& event)
{
    if (!stack_.Adapter() || event.controller != bluez::ControllerOf(stack_.Adapter()->path)) {
        return;
    }
    if (event.code == static_cast<std::uint16_t>(ManagementEventCode::kDeviceConnected)) {
        if (const auto connected = DecodeDeviceConnected(event.parameters)) {
            Record& record = records_[connected->address];
            record.forget.Cancel();
            record.reason.reset();
            record.connection = connected;
        }
    } else if (event.code == static_cast<std::uint16_t>(ManagementEventCode::kDeviceDisconnected)) {
        if (const auto ended = DecodeDeviceDisconnected(event.parameters)) {
            Record& record = records_[ended->address];
            record.connection.reset();
            record.reason = ended->reason;
            record.forget = stack_.GetLoop().After(
                kReasonKept, [this, address = ended->address] { records_.erase(address); });
        }
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
