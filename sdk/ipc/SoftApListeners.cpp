#include <sdk/diag/Log.h>
#include <sdk/ipc/Application.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/SoftApListeners.h>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

void SoftApListeners::SetSoftApConnectStatus(ISoftApConnectStatus* listener)
{
    constexpr auto kFunction = "IPCMessageSender::SetSoftApConnectStatus";
    LogStart(kFunction);
    {
        const std::lock_guard lock(connectStatusLock_);
        connectStatus_ = listener;
    }
    LogEnd(kFunction);
}

void SoftApListeners::ConnectStatusCallBack(std::int32_t status)
{
    constexpr auto kFunction = "IPCMessageSender::ConnectStatusCallBack";
    LogStart(kFunction);
    {
        const std::lock_guard lock(connectStatusLock_);
        if (connectStatus_ != nullptr) {
            CallApplication([&] { connectStatus_->OnConnectStatus(status); });
        }
    }
    LogEnd(kFunction);
}

void SoftApListeners::AddSoftApNotificationCallback(ISoftAPNotification* listener)
{
    std::unique_lock lock(notificationLock_);
    const bool added = notifications_.AddOnce(listener);
    lock.unlock();
    if (!added) {
        Log(kLogTrace, "IPCMessageSender::AddSoftApNotificationCallback",
            "notification already exist");
    }
}

void SoftApListeners::RemoveSoftApNotificationCallback(ISoftAPNotification* listener)
{
    std::unique_lock lock(notificationLock_);
    const bool removed = notifications_.Remove(listener);
    lock.unlock();
    if (!removed) {
        Log(kLogTrace, "IPCMessageSender::RemoveSoftApNotificationCallback",
            "notification not exist");
    }
}

template <typename Call>
void SoftApListeners::CallNotifications(const char* function, const Call& call)
{
    LogStart(function);
    {
        const std::lock_guard lock(notificationLock_);
        notifications_.ForEach([&](ISoftAPNotification* listener) {
            if (listener != nullptr) {
                CallApplication(call, *listener);
            }
        });
    }
    LogEnd(function);
}

void SoftApListeners::SoftapAdvertisemenStatusBack(std::uint32_t status)
{
    CallNotifications(
        "IPCMessageSender::SoftapAdvertisemenStatusBack",
        [&](ISoftAPNotification& listener) { listener.OnAdvertisementStatus(status); });
}

void SoftApListeners::SoftapAdvertisemenStateBack(const protocol::SoftApAdvertisement* record)
{
    CallNotifications(
        "IPCMessageSender::SoftapAdvertisemenStateBack",
        [&](ISoftAPNotification& listener) { listener.OnAdvertisementState(record); });
}

void SoftApListeners::SoftapDeviceConnectionStatusBack(std::uint32_t status)
{
    CallNotifications(
        "IPCMessageSender::SoftapDeviceConnectionStatusBack",
        [&](ISoftAPNotification& listener) { listener.OnDeviceConnectionStatus(status); });
}

bool SoftApListeners::HasSoftApConnectStatus() const
{
    const std::lock_guard lock(connectStatusLock_);
    return connectStatus_ != nullptr;
}

bool SoftApListeners::HasSoftApNotificationCallbacks() const
{
    const std::lock_guard lock(notificationLock_);
    return !notifications_.Empty();
}

}  // namespace pelacon
