// The objects that are called for the soft AP: one for its connections, and a list for the rest.
#pragma once

#include <PelaconSDK/SoftAp.h>
#include <os/Lock.h>
#include <protocol/SoftAp.h>
#include <sdk/ipc/Registry.h>

#include <cstdint>

namespace pelacon {

class SoftApListeners {
  public:
    /// Registers this object in place of the one before, which is not called any more afterwards.
    void SetSoftApConnectStatus(ISoftApConnectStatus* listener);

    /// Calls the one object, with its place locked.
    void ConnectStatusCallBack(std::int32_t status);

    /// A registered object is not added again; one that is not registered is ignored.
    void AddSoftApNotificationCallback(ISoftAPNotification* listener);
    void RemoveSoftApNotificationCallback(ISoftAPNotification* listener);

    /// Each calls every object, in the order of registration, with the list locked.
    void SoftapAdvertisemenStatusBack(std::uint32_t status);
    void SoftapAdvertisemenStateBack(const protocol::SoftApAdvertisement* record);
    void SoftapDeviceConnectionStatusBack(std::uint32_t status);

    /// Whether an object is registered for each.
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
