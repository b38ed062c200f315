// A management socket that is opened when it is needed.
#pragma once

#include <service/linux/bluetooth/Management.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

/// In the loop's thread.
class ManagementLink {
  public:
    /// Opens the management socket; throws std::system_error if that fails.
    using OpenSocket = std::function<FileDescriptor()>;

    /// `heard` is called with each event while the socket is open.
    ManagementLink(Loop& loop, OpenSocket open, Management::OnEvent heard);

    /// Opens the socket unless it is open, also after it was lost. Returns whether it is open.
    bool Open();

    bool IsOpen() const noexcept { return socket_ != nullptr; }

    /// Closes the socket. As Management's destructor.
    void Close() { socket_.reset(); }

    /// As Management::Send; the socket is open.
    void Send(std::uint16_t command, std::uint16_t controller, std::vector<std::uint8_t> parameters,
              Management::OnReply done);

  private:
    Loop& loop_;
    OpenSocket open_;
    Management::OnEvent heard_;
    std::unique_ptr<Management> socket_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
