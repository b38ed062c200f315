#include <os/Wlan.h>

// Windows.h first: the others need it.
#include <windows.h>
#include <wlanapi.h>

#include <memory>
#include <utility>

namespace pelacon::os {

namespace {

constexpr DWORD kClientVersion = 2;

struct ListFreed {
    void operator()(WLAN_INTERFACE_INFO_LIST* list) const { WlanFreeMemory(list); }
};
using InterfaceList = std::unique_ptr<WLAN_INTERFACE_INFO_LIST, ListFreed>;

class NativeInterfaces : public WlanInterfaces {
  public:
    NativeInterfaces(HANDLE handle, InterfaceList list) : handle_(handle), list_(std::move(list)) {}

    std::size_t Count() const override { return list_->dwNumberOfItems; }

    void RequestScan(std::size_t index) override
    {
        const GUID& id = list_->InterfaceInfo[index].InterfaceGuid;
        WlanScan(handle_, &id, nullptr, nullptr, nullptr);
    }

  private:
    HANDLE handle_;
    InterfaceList list_;
};

}  // namespace

WlanHandle OpenWlan()
{
    DWORD version = 0;
    HANDLE handle = nullptr;
    WlanOpenHandle(kClientVersion, nullptr, &version, &handle);
    return reinterpret_cast<WlanHandle>(handle);
}

std::unique_ptr<WlanInterfaces> ListWlanInterfaces(WlanHandle handle)
{
    WLAN_INTERFACE_INFO_LIST* interfaces = nullptr;
    const DWORD error = WlanEnumInterfaces(reinterpret_cast<HANDLE>(handle), nullptr, &interfaces);
    InterfaceList list(interfaces);
    if (error != ERROR_SUCCESS || !list) {
        return nullptr;
    }
    return std::make_unique<NativeInterfaces>(handle, std::move(list));
}

}  // namespace pelacon::os
