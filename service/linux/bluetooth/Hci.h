// A controller's advertising reports as it receives them.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>
#include <service/linux/bluetooth/AdvertisingReport.h>

#include <cstdint>
#include <functional>

namespace pelacon::service::linux_radios::bluetooth {

/// A raw socket, used beside bluetoothd. It starts no scan: reports arrive while any program scans.
/// In the loop's thread.
class Hci : private Loop::Source {
  public:
    /// Called with each report; must not destroy this.
    using OnReport = std::function<void(AdvertisingReport&)>;

    /// Takes a socket of OpenReports, or a stand-in of one. `lost` is called once, when the
    /// controller is gone; it may destroy this.
    Hci(Loop& loop, FileDescriptor socket, OnReport heard, std::function<void()> lost);
    ~Hci() override;

    /// A socket that receives advertising reports only. Throws std::system_error; with
    /// operation_not_permitted if CAP_NET_RAW is missing.
    static FileDescriptor OpenReports(std::uint16_t controller);

  private:
    Loop::Interest Wants() override;
    void Ready(short events) override;

    Loop& loop_;
    FileDescriptor socket_;
    OnReport heard_;
    std::function<void()> lost_;
    ReportAssembler assembler_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
