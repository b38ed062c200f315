// Events and replies of the kernel's management interface.
#include <service/linux/bluetooth/Management.h>

#include <fuzz/Input.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pelacon::service::linux_radios::bluetooth;
    const auto event = DecodeManagementEvent({data, size});
    if (!event) {
        return 0;
    }
    pelacon::fuzz::Consume(event->parameters.data(), event->parameters.size());
    DecodeDeviceConnected(event->parameters);
    DecodeDeviceDisconnected(event->parameters);
    DecodeAdvertisingFeatures(event->parameters);
    return 0;
}
