// Objects that implement every Wi-Fi callback, and the class that they are registered with.
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
struct IdleListener : ISoftApConnectStatus,
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

/// Notes each call in the journal, under its name.
class Named : public ISoftApConnectStatus,
              public ISoftAPNotification,
              public IWifiStateChangeNotification,
              public WifiRealMonitorStateCallBack {
  public:
    explicit Named(std::string name) : name_(std::move(name)) {}

    void OnConnectStatus(int32_t status) override { Note("connect " + std::to_string(status)); }
    void OnAdvertisementStatus(uint32_t status) override
    {
        Note("status " + std::to_string(status));
    }
    void OnAdvertisementState(const SoftApAdvertisementState* state) override
    {
        Note("state " + std::to_string(state->status) + ' ' + std::to_string(state->channel) + ' ' +
             std::string(state->ssid, strnlen(state->ssid, sizeof state->ssid)));
    }
    void OnDeviceConnectionStatus(uint32_t status) override
    {
        Note("device " + std::to_string(status));
    }
    void OnWifiStateChanged(int32_t state) override { Note("switch " + std::to_string(state)); }
    void OnConnectChannel(int32_t channel) override { Note("channel " + std::to_string(channel)); }

    std::function<void()> meanwhile;

  private:
    void Note(const std::string& what)
    {
        Journal::Note(name_ + ": " + what);
        if (meanwhile) {
            meanwhile();
        }
    }

    std::string name_;
};

/// What the objects with these names noted.
inline std::vector<std::string> Delivered(const std::vector<std::string>& names = {"A", "B"})
{
    std::vector<std::string> delivered;
    for (const std::string& entry : Journal::Entries()) {
        for (const std::string& name : names) {
            if (entry.starts_with(name + ": ")) {
                delivered.push_back(entry);
            }
        }
    }
    return delivered;
}

}  // namespace pelacon::test
