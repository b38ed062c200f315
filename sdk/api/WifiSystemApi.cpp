// The object itself, the errors that it passes on, and the scan.
#include <PelaconSDK/WifiSystemApi.h>
#include <os/Singleton.h>
#include <sdk/wifi/ErrorStatus.h>
#include <sdk/wifi/WlanScan.h>

using pelacon::ErrorStatus;

WifiSystemApi& WifiSystemApi::GetInstance()
{
    static constinit pelacon::os::Singleton<WifiSystemApi> instance;
    return instance.Get([] { return new WifiSystemApi; });
}

bool WifiSystemApi::Scan()
{
    return pelacon::StartWlanScan("WifiSystemApi::Scan");
}

bool WifiSystemApi::RegistListener(ErrorListener* listener)
{
    return ErrorStatus::GetInstance()->RegistListener(listener);
}

bool WifiSystemApi::UnregistListener(ErrorListener* listener)
{
    return ErrorStatus::GetInstance()->UnregistListener(listener);
}

void WifiSystemApi::PostNotification(ConnectErrorCode code)
{
    ErrorStatus::GetInstance()->PostNotification(code);
}

std::string WifiSystemApi::GetErrorString(ConnectErrorCode code)
{
    return ErrorStatus::GetInstance()->GetErrorString(code);
}

void WifiSystemApi::DestroyInstance()
{
    ErrorStatus::GetInstance()->DestroyInstance();
}
