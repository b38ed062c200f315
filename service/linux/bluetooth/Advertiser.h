// Advertising, as families see it.
#pragma once

#include <service/linux/bluetooth/Host.h>
#include <service/radio/Advertiser.h>

#include <memory>
#include <set>

namespace pelacon::service::linux_radios::bluetooth {

/// Sends all advertisements on all channels: neither BlueZ nor the kernel lets a program choose
/// them.
class Advertiser : public radio::Advertiser {
  public:
    Advertiser(const Host& host, std::shared_ptr<Gate> gate);

    std::unique_ptr<radio::Advertisement> Start(const radio::Advertising& advertising,
                                                radio::AdvertisementObserver& observer) override;

    /// The state of the service ends: nothing is sent any more.
    void Release();

  private:
    class Running;

    const Host& host_;
    std::shared_ptr<Gate> gate_;
    bool isReleased_ = false;
    bool areChannelsLogged_ = false;
    std::set<Running*> running_;  // also those that have not started yet, or have ended
};

}  // namespace pelacon::service::linux_radios::bluetooth
