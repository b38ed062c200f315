// Objects that hear of everything about Wi-Fi, and the class that they are registered with.
#pragma once

#include <PelaconSDK/WifiSystemApi.h>
#include <tests/support/Journal.h>

#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::test {

inline WifiSystemApi& Api()
{
    return WifiSystemApi::GetInstance();
}

/// Does nothing.
struct Deaf : ISoftApConnectStatus,
              ISoftAPNotification,
              IWifiStateChangeNotification,
              WifiRealMonitorStateCallBack {
    void OnConnectStatus(int32_t /*status*/) override {}
    void OnAdvertisementStatus(uint32_t /*status*/) override {}
    void OnAdvertisementState(const SoftApAdvertisementState* /*state*/) override {}
    void OnDeviceConnectionStatus(uint32_t /*status*/) override {}
    void OnWifiStateChanged(int32_t /*state*/) override {}
    void OnConnectChannel(int32_t /*channel*/) override {}
};

/// Notes what it is told, under its name.
class Named : public ISoftApConnectStatus,
              public ISoftAPNotification,
              public IWifiStateChangeNotification,
              public WifiRealMonitorStateCallBack {
  public:
    explicit Named(std::string name) : name_(std::move(name)) {}

    void OnConnectStatus(int32_t status) override { Tell("connect " + std::to_string(status)); }
    void OnAdvertisementStatus(uint32_t status) override
    {
        Tell("status " + std::to_string(status));
    }
    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        Tell("state " + std::to_string(state->status) + ' ' + std::to_string(state->channel) + ' ' +
             std::string(state->ssid, strnlen(state->ssid, sizeof state->ssid)));
    }
    void OnDeviceConnectionStatus(uint32_t status) override
    {
        Tell("device " + std::to_string(status));
    }
    void OnWifiStateChanged(int32_t state) override { Tell("switch " + std::to_string(state)); }
    void OnConnectChannel(int32_t channel) override { Tell("channel " + std::to_string(channel)); }

    std::function<void()> meanwhile;

  private:
    void Tell(const std::string& what)
    {
        Journal::Note(name_ + ": " + what);
        if (meanwhile) {
            meanwhile();
        }
    }

    std::string name_;
};

/// What the objects with these names noted.
inline std::vector<std::string> Told(const std::vector<std::string>& names = {"A", "B"})
{
    std::vector<std::string> told;
    for (const std::string& entry : Journal::Entries()) {
        for (const std::string& name : names) {
            if (entry.starts_with(name + ": ")) {
                told.push_back(entry);
            }
        }
    }
    return told;
}

}  // namespace pelacon::test
