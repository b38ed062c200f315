#include <PelaconSDK/WifiSystemApi.h>
#include <sdk/api/BothForms.h>
#include <sdk/api/CEntry.h>
#include <sdk/api/WifiSystemTables.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <list>
#include <string>
#include <type_traits>

using namespace pelacon;

// Programs of other compilers and languages use this record.
static_assert(sizeof(SoftAPInfoC) == 324);
static_assert(offsetof(SoftAPInfoC, password) == 33);
static_assert(offsetof(SoftAPInfoC, ipAddress) == 290);
static_assert(offsetof(SoftAPInfoC, mac) == 307);
static_assert(offsetof(SoftAPInfoC, channel) == 313);
static_assert(offsetof(SoftAPInfoC, purpose) == 316);
static_assert(offsetof(SoftAPInfoC, errorCode) == 320);

namespace {

constexpr std::int32_t kRefused = -1;

/// The length of a text, or the size of a list, without an answer and without memory.
constexpr std::int32_t kNone = 0;

WifiSystemApi& Wifi()
{
    return WifiSystemApi::GetInstance();
}

/// An entry point that does what a member does.
template <auto kMember, typename... Arguments>
auto Entry(
    WhenThrown<std::invoke_result_t<decltype(kMember), WifiSystemApi&, Arguments...>> whenThrown,
    Arguments... arguments)
{
    return CEntry(whenThrown, [&] { return std::invoke(kMember, Wifi(), arguments...); });
}

/// Whether the arguments are valid; logs when they are not.
bool Accept(bool valid, const char* function)
{
    if (!valid) {
        diag::Log(kLogFailure, function, "invalid params");
    }
    return valid;
}

bool IsBuffer(const char* text, std::int32_t size)
{
    return text != nullptr && size > 0;
}

bool IsList(const std::int32_t* numbers, std::int32_t capacity)
{
    return capacity == 0 || (capacity > 0 && numbers != nullptr);
}

/// Copies the text with a NUL, as much of it as fits; returns its whole length.
std::int32_t Copy(const std::string& from, char* to, std::int32_t size)
{
    to[from.copy(to, static_cast<std::size_t>(size) - 1)] = '\0';
    return static_cast<std::int32_t>(from.size());
}

/// Copies as many numbers as fit; returns how many there are.
std::int32_t Copy(const std::list<int>& from, std::int32_t* to, std::int32_t capacity)
{
    std::copy_n(from.begin(), std::min(from.size(), static_cast<std::size_t>(capacity)), to);
    return static_cast<std::int32_t>(from.size());
}

/// An entry point that copies the text that `read` returns. Whatever happens, the text ends.
template <typename Read>
std::int32_t TextEntry(char* text, std::int32_t size, const Read& read,
                       WhenThrown<std::int32_t> whenThrown)
{
    return CEntry(whenThrown, [&] {
        if (!Accept(IsBuffer(text, size), whenThrown.function)) {
            return kRefused;
        }
        *text = '\0';
        return Copy(read(), text, size);
    });
}

/// An entry point that copies the numbers that `read` returns.
template <typename Read>
std::int32_t ListEntry(std::int32_t* numbers, std::int32_t capacity, const Read& read,
                       WhenThrown<std::int32_t> whenThrown)
{
    return CEntry(whenThrown, [&] {
        return Accept(IsList(numbers, capacity), whenThrown.function)
                   ? Copy(read(), numbers, capacity)
                   : kRefused;
    });
}

}  // namespace

// ---- The soft AP

int32_t WifiSystemCreateSoftAP(SoftAPInfoC* info)
{
    return CEntry(kRefused, [&]() -> int32_t {
        if (!Accept(info != nullptr, "WifiSystemCreateSoftAP")) {
            return kRefused;
        }
        SoftAPInfo created;
        created.requestByte = info->requestedBand;
        created.requestInt = info->purpose;
        bool answered = false;
        const int result = CreateSoftAp(created, answered);
        if (answered) {
            Copy(created.ssid, info->ssid, sizeof info->ssid);
            Copy(created.password, info->password, sizeof info->password);
            Copy(created.ipAddress, info->ipAddress, sizeof info->ipAddress);
            std::ranges::copy(created.mac, info->mac);
            info->channel = created.apByte1;
            info->band = created.apByte2;
            info->errorCode = created.errorCode;
        }
        return result;
    });
}

int32_t WifiSystemDestroySoftAP(EGoPurpose purpose)
{
    return Entry<&WifiSystemApi::SystemDestroySoftAP>(-1, purpose);
}

uint8_t WifiSystemRefreshSoftAPChannel()
{
    return Entry<&WifiSystemApi::SystemRefreshSoftAPChannel>(0);
}

uint8_t WifiSystemGetSoftAPChannel()
{
    return Entry<&WifiSystemApi::GetSoftAPChannel>(0);
}

bool WifiSystemCheckMySoftAPExist()
{
    return Entry<&WifiSystemApi::CheckMySoftAPExist>(false);
}

int32_t WifiSystemGetSSID(char* ssid, int32_t size)
{
    return TextEntry(
        ssid, size, [] { return Wifi().GetSSID(); }, kNone);
}

void WifiSystemChangeSSIDAndPasswd()
{
    Entry<&WifiSystemApi::ChangeSSIDAndPasswd>({});
}

int32_t WifiSystemGetSoftApError()
{
    return Entry<&WifiSystemApi::GetSoftApError>(-1);
}

int32_t WifiSystemGetLegacyAPIP(char* address, int32_t size)
{
    return TextEntry(
        address, size, [] { return Wifi().GetLegacyAPIP(); }, kNone);
}

bool WifiSystemIsAPConnected(int32_t* channel, char* ssid, int32_t size)
{
    return CEntry(false, [&] {
        if (!Accept(channel != nullptr && IsBuffer(ssid, size), "WifiSystemIsAPConnected")) {
            return false;
        }
        std::string text;
        const bool connected = Wifi().IsAPConnected(*channel, text);
        Copy(text, ssid, size);
        return connected;
    });
}

// ---- The paired device, and restarts for it

bool WifiSystemSetPairDeviceModelName(const char* name)
{
    return CEntry(false, [&] {
        return Accept(name != nullptr, "WifiSystemSetPairDeviceModelName") &&
               Wifi().SetPairDeviceModelName(name);
    });
}

int32_t WifiSystemGetPairDeviceModelName(char* name, int32_t size)
{
    const auto read = [] {
        std::string text;
        return Wifi().GetPairDeviceModelName(text) ? text : std::string();
    };
    return TextEntry(name, size, read, kNone);
}

bool WifiSystemSetListProductType(const char* const* types, int32_t count)
{
    return CEntry(false, [&] {
        const auto isNull = [](const char* text) { return text == nullptr; };
        const bool valid = count == 0 || (count > 0 && types != nullptr &&
                                          std::none_of(types, types + count, isNull));
        return Accept(valid, "WifiSystemSetListProductType") &&
               Wifi().SetListProductType({types, types + count});
    });
}

bool WifiSystemGetRestartMobileHotpotFlag()
{
    return Entry<&WifiSystemApi::GetRestartMobileHotpotFlag>(false);
}

void WifiSystemSetRestartMobileHotpotFlag(bool flag)
{
    Entry<&WifiSystemApi::SetRestartMobileHotpotFlag>({}, flag);
}

bool WifiSystemRestartWiFiDirectVirtualAdapter(bool afterWakeUp)
{
    return Entry<&WifiSystemApi::RestartWiFiDirectVirtualAdapter>(false, afterWakeUp);
}

uint32_t WifiSystemGetRestartCount()
{
    return Entry<&WifiSystemApi::GetRestartCount>(0);
}

uint32_t WifiSystemGetWakeUpRestartCount()
{
    return Entry<&WifiSystemApi::GetWakeUpRestartCount>(0);
}

void WifiSystemResetWakeUpCount()
{
    Entry<&WifiSystemApi::ResetWakeUpCount>({});
}

uint32_t WifiSystemGetAdapterIndex()
{
    return static_cast<uint32_t>(Entry<&WifiSystemApi::GetAdapterIndex>(0));
}

int32_t WifiSystemGetAdapterGuid(char* guid, int32_t size)
{
    return TextEntry(
        guid, size, [] { return Wifi().GetAdapterGuid(); }, kNone);
}

// ---- Callbacks for the soft AP

void WifiSystemRegistSoftApConnectStatus(SoftApConnectStatusCallbacksC* callbacks)
{
    CEntry({}, [&] {
        Wifi().RegistSoftApConnectStatus(TableListeners<ConnectStatusTable>::Of(callbacks));
    });
}

int32_t WifiSystemRegisterSoftApNotificationEventCallback(SoftApNotificationCallbacksC* callbacks)
{
    return CEntry(-1, [&] {
        return Wifi().RegisterSoftApNotificationEventCallback(
            TableListeners<SoftApNotificationTable>::Of(callbacks));
    });
}

int32_t WifiSystemUnRegisterSoftApNotificationEventCallback(SoftApNotificationCallbacksC* callbacks)
{
    return CEntry(-1, [&] {
        return Wifi().UnRegisterSoftApNotificationEventCallback(
            TableListeners<SoftApNotificationTable>::Known(callbacks));
    });
}

// ---- Channels

bool WifiSystemGetPCChannelList(char* channels24G, int32_t size24G, char* channels5G,
                                int32_t size5G, int32_t* current)
{
    return CEntry(false, [&] {
        std::string texts[2];
        if (!Accept(IsBuffer(channels24G, size24G) && IsBuffer(channels5G, size5G) &&
                        current != nullptr,
                    "WifiSystemGetPCChannelList") ||
            !ReadPcChannels(texts[0], texts[1], *current)) {
            return false;
        }
        Copy(texts[0], channels24G, size24G);
        Copy(texts[1], channels5G, size5G);
        return true;
    });
}

bool WifiSystemGetPCSupportChannelList(int32_t* channels24G, int32_t* count24G, int32_t* channels5G,
                                       int32_t* count5G, int32_t* current)
{
    return CEntry(false, [&] {
        std::list<int> lists[2];
        if (!Accept(count24G != nullptr && IsList(channels24G, *count24G) && count5G != nullptr &&
                        IsList(channels5G, *count5G) && current != nullptr,
                    "WifiSystemGetPCSupportChannelList") ||
            !ReadPcChannels(lists[0], lists[1], *current)) {
            return false;
        }
        *count24G = Copy(lists[0], channels24G, *count24G);
        *count5G = Copy(lists[1], channels5G, *count5G);
        return true;
    });
}

void WifiSystemSetPhoneCurrentChannel(int32_t channel)
{
    Entry<&WifiSystemApi::SetPhoneCurrentChannel>({}, channel);
}

int32_t WifiSystemGetRecordPhoneChannel()
{
    return Entry<&WifiSystemApi::GetRecordPhoneChannel>(0);
}

void WifiSystemAddPhoneSupportChannel(int32_t channel)
{
    Entry<&WifiSystemApi::AddPhoneSupportChannel>({}, channel);
}

void WifiSystemAddPhoneSupport24Channel(int32_t channel)
{
    Entry<&WifiSystemApi::AddPhoneSupport24Channel>({}, channel);
}

void WifiSystemRemovePhoneSupportChannels()
{
    Entry<&WifiSystemApi::RemovePhoneSupportChannels>({});
}

int32_t WifiSystemGetRecordPhoneChannelList(int32_t* channels, int32_t capacity)
{
    return ListEntry(
        channels, capacity, [] { return Wifi().GetRecordPhoneChannelList(); }, kNone);
}

int32_t WifiSystemGetRecordPhone24GChannelList(int32_t* channels, int32_t capacity)
{
    return ListEntry(
        channels, capacity, [] { return Wifi().GetRecordPhone24GChannelList(); }, kNone);
}

int32_t WifiSystemGetPhoneChannelList(char* text, int32_t size)
{
    const auto read = [] {
        std::string channels;
        Wifi().GetPhoneChannelList(channels);
        return channels;
    };
    return TextEntry(text, size, read, kNone);
}

void WifiSystemCheckIsSet5GFailed()
{
    Entry<&WifiSystemApi::CheckIsSet5GFailed>({});
}

int32_t WifiSystemRepickChannelWithoutEffect(bool want5G)
{
    return Entry<&WifiSystemApi::RepickChannelWithoutEffect>(0, want5G);
}

int32_t WifiSystemSetAPFrequence(bool want5G)
{
    return Entry<&WifiSystemApi::SetAPFrequence>(0, want5G);
}

WifiFrequenceType WifiSystemGetFrequenceType(int32_t channel)
{
    return Entry<&WifiSystemApi::GetFrequenceType>(kWifiFrequenceUnknown, channel);
}

bool WifiSystemIs5GChannel(int32_t channel)
{
    return Entry<&WifiSystemApi::Is5GChannel>(false, channel);
}

bool WifiSystemIs24GChannel(int32_t channel)
{
    return Entry<&WifiSystemApi::Is24GChannel>(false, channel);
}

int32_t WifiSystemGetFrequencyFromChannel(int32_t channel)
{
    return Entry<&WifiSystemApi::GetFrequencyFromChannel>(0, channel);
}

// ---- The Wi-Fi switch

SystemApiEnableWifiResult WifiSystemEnableWifi(bool enable)
{
    return Entry<&WifiSystemApi::EnableWifi>(kEnableWifiNoAnswer, enable);
}

SystemApiWifiState WifiSystemGetWifiState()
{
    return Entry<&WifiSystemApi::GetWifiState>(kWifiStateUnknown);
}

bool WifiSystemRegistWifiStateChangeCallback(WifiStateCallbacksC* callbacks)
{
    return CEntry(false, [&] {
        return Wifi().RegistWifiStateChangeCallback(TableListeners<WifiStateTable>::Of(callbacks));
    });
}

bool WifiSystemUnRegistWifiStateChangeCallback(WifiStateCallbacksC* callbacks)
{
    return CEntry(false, [&] {
        return Wifi().UnRegistWifiStateChangeCallback(
            TableListeners<WifiStateTable>::Known(callbacks));
    });
}

void WifiSystemRegistWifiChannelCallback(WifiChannelCallbacksC* callbacks)
{
    CEntry({}, [&] {
        Wifi().RegistWifiStateChangeCallBack(TableListeners<WifiChannelTable>::Of(callbacks));
    });
}

bool WifiSystemScan()
{
    return Entry<&WifiSystemApi::Scan>(false);
}

// ---- Connection errors

bool WifiSystemRegistListener(ErrorListenerC* listener)
{
    return CEntry(false,
                  [&] { return Wifi().RegistListener(TableListeners<ErrorTable>::Of(listener)); });
}

bool WifiSystemUnregistListener(ErrorListenerC* listener)
{
    return CEntry(false, [&] {
        return Wifi().UnregistListener(TableListeners<ErrorTable>::Known(listener));
    });
}

void WifiSystemPostNotification(ConnectErrorCode code)
{
    Entry<&WifiSystemApi::PostNotification>({}, code);
}

int32_t WifiSystemGetErrorString(ConnectErrorCode code, char* text, int32_t size)
{
    return TextEntry(
        text, size, [&] { return Wifi().GetErrorString(code); }, kNone);
}

bool WifiSystemDestroyInstance()
{
    return CEntry(false, [&] {
        Wifi().DestroyInstance();
        return true;
    });
}
