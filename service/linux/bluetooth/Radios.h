// The Bluetooth radios of one state of the service.
#pragma once

#include <service/linux/bluetooth/Adapter.h>
#include <service/linux/bluetooth/Advertiser.h>
#include <service/linux/bluetooth/GattClient.h>
#include <service/linux/bluetooth/GattServer.h>
#include <service/linux/bluetooth/Host.h>
#include <service/linux/bluetooth/Scanner.h>

#include <memory>

namespace pelacon::service::linux_radios::bluetooth {

/// Created, used and destroyed with the scheduler's lock held.
class Radios : private Host::Observer {
  public:
    /// The host's radios before these, if there were any, have been released.
    explicit Radios(Host& host) : host_(host) { host_.SetObserver(this); }
    ~Radios() override { Release(); }

    radio::Adapter& GetAdapter() noexcept { return adapter_; }
    radio::Scanner& GetScanner() noexcept { return scanner_; }
    radio::Advertiser& GetAdvertiser() noexcept { return advertiser_; }
    radio::GattClient& GetGattClient() noexcept { return gattClient_; }
    radio::GattServer& GetGattServer() noexcept { return gattServer_; }

    /// As radio::Radios has it.
    void Release();

  private:
    void PictureChanged(const AdapterPicture& before) override { adapter_.PictureChanged(before); }
    void Heard(const AdvertisingReport& report) override { scanner_.Heard(report); }
    void DiscoveryBegan() override { scanner_.DiscoveryBegan(); }
    void DiscoveryEnded(radio::Outcome why) override { scanner_.DiscoveryEnded(why); }

    Host& host_;
    std::shared_ptr<Gate> gate_ = host_.MakeGate();
    Adapter adapter_{host_, gate_};
    Scanner scanner_{host_};
    Advertiser advertiser_{host_, gate_};
    GattClient gattClient_{host_, gate_};
    GattServer gattServer_{host_, gate_};
    bool isReleased_ = false;
};

}  // namespace pelacon::service::linux_radios::bluetooth
