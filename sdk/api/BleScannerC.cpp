#include <PelaconSDK/BleScanner.h>
#include <sdk/api/CEntry.h>

using pelacon::CEntry;

BleStatusC BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId)
{
    return CEntry("BleScanRegisterCallbacks", kBleStatusFailed,
                  [&] { return BleScanner::BleScanRegisterCallbacks(callbacks, listenerId); });
}

BleStatusC BleScanUnRegisterCallbacks(int listenerId)
{
    return CEntry("BleScanUnRegisterCallbacks", kBleStatusFailed,
                  [&] { return BleScanner::BleScanUnRegisterCallbacks(listenerId); });
}

BleStatusC StartBleScan(int listenerId, BleScanPolicy policy)
{
    return CEntry("StartBleScan", kBleStatusFailed,
                  [&] { return BleScanner::StartBleScan(listenerId, policy); });
}

BleStatusC StopBleScan(int listenerId)
{
    return CEntry("StopBleScan", kBleStatusFailed,
                  [&] { return BleScanner::StopBleScan(listenerId); });
}

BleStatusC SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize)
{
    return CEntry("SetScanFilter", kBleStatusFailed,
                  [&] { return BleScanner::SetScanFilter(listenerId, filters, filterSize); });
}

BleStatusC RemoveScanFilter(int listenerId)
{
    return CEntry("RemoveScanFilter", kBleStatusFailed,
                  [&] { return BleScanner::RemoveScanFilter(listenerId); });
}

BleStatusC BleRegisterTargetAdvCallback(TargetAdvFilter filter, VoviewRecvAdvCallbacksC* callbacks)
{
    return CEntry("BleRegisterTargetAdvCallback", kBleStatusFailed,
                  [&] { return BleScanner::BleRegisterTargetAdvCallback(filter, callbacks); });
}

BleStatusC BleUnRegisterTargetAdvCallback(BleTargetBusiness business)
{
    return CEntry("BleUnRegisterTargetAdvCallback", kBleStatusFailed,
                  [&] { return BleScanner::BleUnRegisterTargetAdvCallback(business); });
}

BleStatusC BleOnRecvVoviewData(TargetAdvInfo info)
{
    return CEntry("BleOnRecvVoviewData", kBleStatusFailed,
                  [&] { return BleScanner::BleOnRecvVoviewData(info); });
}
