#include <PelaconSDK/BleScanner.h>
#include <sdk/api/CEntry.h>

using pelacon::CEntry;

BleStatusC BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId)
{
    return CEntry<&BleScanner::BleScanRegisterCallbacks>(kBleStatusFailed, callbacks, listenerId);
}

BleStatusC BleScanUnRegisterCallbacks(int listenerId)
{
    return CEntry<&BleScanner::BleScanUnRegisterCallbacks>(kBleStatusFailed, listenerId);
}

BleStatusC StartBleScan(int listenerId, BleScanPolicy policy)
{
    return CEntry<&BleScanner::StartBleScan>(kBleStatusFailed, listenerId, policy);
}

BleStatusC StopBleScan(int listenerId)
{
    return CEntry<&BleScanner::StopBleScan>(kBleStatusFailed, listenerId);
}

BleStatusC SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize)
{
    return CEntry<&BleScanner::SetScanFilter>(kBleStatusFailed, listenerId, filters, filterSize);
}

BleStatusC RemoveScanFilter(int listenerId)
{
    return CEntry<&BleScanner::RemoveScanFilter>(kBleStatusFailed, listenerId);
}

BleStatusC BleRegisterTargetAdvCallback(TargetAdvFilter filter, VoviewRecvAdvCallbacksC* callbacks)
{
    return CEntry<&BleScanner::BleRegisterTargetAdvCallback>(kBleStatusFailed, filter, callbacks);
}

BleStatusC BleUnRegisterTargetAdvCallback(BleTargetBusiness business)
{
    return CEntry<&BleScanner::BleUnRegisterTargetAdvCallback>(kBleStatusFailed, business);
}

BleStatusC BleOnRecvVoviewData(TargetAdvInfo info)
{
    return CEntry<&BleScanner::BleOnRecvVoviewData>(kBleStatusFailed, info);
}
