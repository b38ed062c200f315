#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/WifiStateListeners.h>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

void WifiStateListeners::AddWifiStateCallback(WifiRealMonitorStateCallBack* callback)
{
    std::unique_lock lock(channelLock_);
    const bool added = channelCallbacks_.AddOnce(callback);
    lock.unlock();
    if (!added) {
        Log(kLogTrace, "IPCMessageSender::AddWifiStateCallback", "callback already exist");
    }
}

void WifiStateListeners::WifiConnectChannelCallback(std::int32_t channel)
{
    constexpr auto kFunction = "IPCMessageSender::WifiConnectChannelCallback";
    LogStart(kFunction);
    {
        const std::lock_guard lock(channelLock_);
        channelCallbacks_.ForEach([&](WifiRealMonitorStateCallBack* callback) {
            CallApplication([&] { callback->OnConnectChannel(channel); });
        });
    }
    LogEnd(kFunction);
}

void WifiStateListeners::AddWifiStateChangeCallback(IWifiStateChangeNotification* observer)
{
    constexpr auto kFunction = "IPCMessageSender::AddWifiStateChangeCallback";
    Log(kLogTrace, kFunction, "adding Wi-Fi switch Status Listener");
    if (observer == nullptr) {
        Log(kLogFailure, kFunction, "register failed, observer is null");
        return;
    }
    std::unique_lock lock(switchLock_);
    switchObservers_.Append(observer);
    const std::size_t size = switchObservers_.Size();
    lock.unlock();
    Log(kLogTrace, kFunction, "register success, cur size:", size);
}

void WifiStateListeners::RemoveWifiStateChangeCallback(IWifiStateChangeNotification* observer)
{
    constexpr auto kFunction = "IPCMessageSender::RemoveWifiStateChangeCallback";
    Log(kLogTrace, kFunction, "removing Wi-Fi switch Status Listener");
    if (observer == nullptr) {
        Log(kLogFailure, kFunction, "unregister failed, observer is null");
        return;
    }
    std::unique_lock lock(switchLock_);
    const bool removed = switchObservers_.Remove(observer);
    lock.unlock();
    if (!removed) {
        Log(kLogTrace, kFunction, "observer does not exist");
    }
    Log(kLogTrace, kFunction, "The operation is complete");
}

void WifiStateListeners::WifiSwitchStateChangeCallback(std::int32_t state)
{
    constexpr auto kFunction = "IPCMessageSender::WifiSwitchStateChangeCallback";
    Log(kLogTrace, kFunction, "PelaconSDK notify the business that the status has changed:", state);
    {
        const std::lock_guard lock(switchLock_);
        switchObservers_.ForEach([&](IWifiStateChangeNotification* observer) {
            CallApplication([&] { observer->OnWifiStateChanged(state); });
        });
    }
    Log(kLogTrace, kFunction, "Notification completed");
}

bool WifiStateListeners::HasWifiStateCallbacks() const
{
    const std::lock_guard lock(channelLock_);
    return !channelCallbacks_.Empty();
}

bool WifiStateListeners::HasWifiStateChangeCallbacks() const
{
    const std::lock_guard lock(switchLock_);
    return !switchObservers_.Empty();
}

}  // namespace pelacon
