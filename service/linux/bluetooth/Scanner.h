// Scans, as families see them.
#pragma once

#include <service/linux/bluetooth/Host.h>
#include <service/radio/Scanner.h>

#include <cstdint>
#include <map>
#include <memory>

namespace pelacon::service::linux_radios::bluetooth {

/// One discovery serves all scans, and when it ends, they end. Its policy is BlueZ's, except that
/// repeated advertisements are not filtered during a scan with low latency, where the kernel allows
/// that. Of an advertisement that is longer than kMostAdvertisingData, scans get the structures
/// that fit.
class Scanner : public radio::Scanner {
  public:
    explicit Scanner(const Host& host);

    std::unique_ptr<radio::Scan> Start(radio::ScanPolicy policy,
                                       radio::ScanObserver& observer) override;

    /// The state of the service ends: nothing is wanted for its scans any more, and nothing is
    /// posted for those that still end.
    void Release();

    // As Host::Observer has them:
    void Heard(const AdvertisingReport& report);
    void DiscoveryBegan();
    void DiscoveryEnded(radio::Outcome why);

  private:
    class Running;

    void Fit();
    template <typename Use>
    void ForEach(const Use& use);

    const Host& host_;
    bool isReleased_ = false;
    bool isDiscoveryWanted_ = false;
    bool isFilterOff_ = false;  // is to be
    std::uint64_t lastId_ = 0;
    std::map<std::uint64_t, Running*> running_;  // also those that have not started yet
};

}  // namespace pelacon::service::linux_radios::bluetooth
