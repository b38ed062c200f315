// The adapter, as families see it.
#pragma once

#include <service/linux/bluetooth/Host.h>
#include <service/radio/Adapter.h>

#include <array>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

class Adapter : public radio::Adapter {
  public:
    Adapter(const Host& host, const std::shared_ptr<Gate>& gate);

    radio::AdapterState State() const override { return state_; }
    void Switch(bool on, radio::OutcomeDone done) override;
    std::uint64_t Address() const override { return host_.Picture().address; }
    std::string Name() const override;
    void Rename(std::string name, radio::OutcomeDone done) override;
    bool IsConnected(std::uint64_t address, radio::BluetoothType type) const override;

    /// The host has another picture.
    void PictureChanged(const AdapterPicture& before);

  private:
    void Switched(bool on, radio::Outcome outcome);
    void Enter(radio::AdapterState state);

    const Host& host_;
    radio::AdapterState state_;
    std::array<std::vector<radio::OutcomeDone>, 2> switching_;  // off, on
    Upcalls<Adapter> upcalls_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
