#include <service/linux/Capabilities.h>

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>

namespace pelacon::service::linux_radios {

bool HasCapability(Capability capability)
{
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> data{};
    if (syscall(SYS_capget, &header, data.data()) != 0) {
        return false;
    }
    const auto number = static_cast<unsigned>(capability);
    return (data.at(number / 32).effective >> number % 32 & 1U) != 0;
}

}  // namespace pelacon::service::linux_radios
