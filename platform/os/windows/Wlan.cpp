#include <os/Wlan.h>

// Windows.h first: the others need it.
#include <windows.h>
#include <wlanapi.h>

#include <bit>
#include <memory>
#include <utility>

namespace pelacon::os {

namespace {

constexpr DWORD kClientVersion = 2;

/// The functions of wlanapi.dll. Some editions of Windows lack that DLL: it is loaded when it is
/// first needed, so that this library loads everywhere. Null functions where it is missing.
struct WlanApi {
    decltype(&::WlanOpenHandle) openHandle = Find<decltype(&::WlanOpenHandle)>("WlanOpenHandle");
    decltype(&::WlanEnumInterfaces) enumInterfaces =
        Find<decltype(&::WlanEnumInterfaces)>("WlanEnumInterfaces");
    decltype(&::WlanScan) scan = Find<decltype(&::WlanScan)>("WlanScan");
    decltype(&::WlanFreeMemory) freeMemory = Find<decltype(&::WlanFreeMemory)>("WlanFreeMemory");

    bool IsComplete() const { return openHandle && enumInterfaces && scan && freeMemory; }

  private:
    template <typename Function>
    static Function Find(const char* name)
    {
        static const HMODULE library =
            LoadLibraryExW(L"wlanapi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        return library != nullptr ? std::bit_cast<Function>(GetProcAddress(library, name))
                                  : nullptr;
    }
};

/// Null where wlanapi.dll is missing.
const WlanApi* Api()
{
    static const WlanApi api;
    return api.IsComplete() ? &api : nullptr;
}

struct ListFreed {
    void operator()(WLAN_INTERFACE_INFO_LIST* list) const { Api()->freeMemory(list); }
};
using InterfaceList = std::unique_ptr<WLAN_INTERFACE_INFO_LIST, ListFreed>;

class NativeInterfaces : public WlanInterfaces {
  public:
    NativeInterfaces(HANDLE handle, InterfaceList list) : handle_(handle), list_(std::move(list)) {}

    std::size_t Count() const override { return list_->dwNumberOfItems; }

    void RequestScan(std::size_t index) override
    {
        const GUID& id = list_->InterfaceInfo[index].InterfaceGuid;
        Api()->scan(handle_, &id, nullptr, nullptr, nullptr);
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
    if (const WlanApi* const api = Api()) {
        api->openHandle(kClientVersion, nullptr, &version, &handle);
    }
    return reinterpret_cast<WlanHandle>(handle);
}

std::unique_ptr<WlanInterfaces> ListWlanInterfaces(WlanHandle handle)
{
    const WlanApi* const api = Api();
    if (api == nullptr) {
        return nullptr;
    }
    WLAN_INTERFACE_INFO_LIST* interfaces = nullptr;
    const DWORD error = api->enumInterfaces(reinterpret_cast<HANDLE>(handle), nullptr, &interfaces);
    InterfaceList list(interfaces);
    if (error != ERROR_SUCCESS || !list) {
        return nullptr;
    }
    return std::make_unique<NativeInterfaces>(handle, std::move(list));
}

}  // namespace pelacon::os
