// The Wi-Fi adapter, as families see it.
#pragma once

#include <service/linux/wifi/Host.h>
#include <service/radio/Wifi.h>

#include <memory>
#include <optional>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

class Wifi : public radio::Wifi {
  public:
    Wifi(const Host& host, const std::shared_ptr<Gate>& gate) : host_(host), upcalls_(gate, *this)
    {}

    bool IsOn() const override { return host_.GetPicture().isOn; }
    void Switch(bool on, radio::OutcomeDone done) override;
    std::uint64_t Address() const override { return host_.GetPicture().address; }
    const std::vector<Channel>& Channels() const override { return host_.GetPicture().channels; }
    std::optional<Connection> CurrentConnection() const override
    {
        return host_.GetPicture().connection;
    }

    /// The host has another picture.
    void PictureChanged(const Picture& before);

  private:
    const Host& host_;
    Upcalls<Wifi> upcalls_;
};

}  // namespace pelacon::service::linux_radios::wifi
