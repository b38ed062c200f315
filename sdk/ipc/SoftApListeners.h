// Who hears of the soft AP: the one object for its connections, and those for everything else.
#pragma once

#include <PelaconSDK/SoftAp.h>
#include <os/Lock.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>

namespace pelacon {

class SoftApListeners {
  public:
    /// Keeps this object in place of the one before, which is not called any more afterwards.
    void SetSoftApConnectStatus(ISoftApConnectStatus* listener);

    /// Tells the one object, with its place locked.
    void ConnectStatusCallBack(std::int32_t status);

    /// An object that is there already is not added again; one that is not there is not removed.
    void AddSoftApNotificationCallback(ISoftAPNotification* listener);
    void RemoveSoftApNotificationCallback(ISoftAPNotification* listener);

    /// Each tells every object, in the order of registration, with the list locked.
    void SoftapAdvertisemenStatusBack(std::uint32_t status);
    void SoftapAdvertisemenStateBack(const std::uint8_t* payload);
    void SoftapDeviceConnectionStatusBack(std::uint32_t status);

    /// Whether there is anybody to hear of each.
    bool HasSoftApConnectStatus() const;
    bool HasSoftApNotificationCallbacks() const;

  private:
    template <typename Call>
    void CallNotifications(const char* function, const Call& call);

    mutable os::Lock connectStatusLock_;
    ISoftApConnectStatus* connectStatus_ = nullptr;

    mutable os::Lock notificationLock_;
    OrderedList<ISoftAPNotification*> notifications_;
};

}  // namespace pelacon
