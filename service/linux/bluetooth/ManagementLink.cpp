#include <service/linux/bluetooth/ManagementLink.h>

#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

ManagementLink::ManagementLink(Loop& loop, OpenSocket open, Management::OnEvent heard)
    : loop_(loop), open_(std::move(open)), heard_(std::move(heard))
{}

bool ManagementLink::Open()
{
    if (IsOpen()) {
        return true;
    }
    try {
        socket_ = std::make_unique<Management>(loop_, open_(), heard_, [this] { socket_.reset(); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

void ManagementLink::Send(std::uint16_t command, std::uint16_t controller,
                          std::vector<std::uint8_t> parameters, Management::OnReply done)
{
    socket_->Send(command, controller, std::move(parameters), std::move(done));
}

}  // namespace pelacon::service::linux_radios::bluetooth
