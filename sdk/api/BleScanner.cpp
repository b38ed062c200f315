#include <PelaconSDK/BleScanner.h>
#include <protocol/BleScanner.h>
#include <protocol/Hex.h>
#include <protocol/TargetAdv.h>
#include <sdk/api/BleCall.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <sdk/ipc/TargetAdvCallbacks.h>

#include <algorithm>
#include <string>

using namespace pelacon;

static_assert(sizeof(TargetAdvFilter) == 276);

namespace {

constexpr std::int32_t kMostFilters = protocol::kMostScanFilters;

// The scan family's diagnostic event.
constexpr std::int32_t kRegisterFailed = 1;
constexpr std::int32_t kStartFailed = 2;
constexpr std::int32_t kIpcTimeout = 2;

constinit os::Lock scannerLock;

class ScannerCall : public BleCall {
  public:
    explicit ScannerCall(const char* function) : BleCall(function, &scannerLock) {}

    void LogEvent(std::int32_t eventType) const
    {
        Log(kLogMilestone, "[VoView]EventType:", eventType, " ,ErrorCode:", kIpcTimeout);
    }
};

/// The filter's pattern as text: 0A:1B:FF. A length beyond the field counts as the field's.
std::string HexPattern(const BleScanFilter& filter)
{
    const std::size_t length =
        std::min<std::size_t>(filter.patternLength, sizeof filter.patternData);
    return protocol::HexText({filter.patternData, length}, protocol::HexCase::kUpper, ":");
}

}  // namespace

BleStatusC BleScanner::BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId)
{
    ScannerCall call("BleScanner::BleScanRegisterCallbacks");
    call.WhenNoReply([&] {
        VoviewDataReport::EventDataReport(VoviewDataReport::kScanEvent)
            .AddInt("EventType", kRegisterFailed)
            .AddInt("ErrorCode", kIpcTimeout)
            .Report();
        call.LogEvent(kRegisterFailed);
    });
    return call.Send(protocol::kRegisterScanListener, {},
                     call.Then([&](const protocol::ValueStatusReply& reply) {
                         Registry<ScanCallbacks>().AddScanCb(callbacks, reply.value);
                         *listenerId = reply.value;
                     }));
}

BleStatusC BleScanner::BleScanUnRegisterCallbacks(int listenerId)
{
    BleCall call("BleScanner::BleScanUnRegisterCallbacks");
    Registry<ScanCallbacks>().RemoveScanCb(listenerId);
    call.Lock(scannerLock);
    call.EndWith("UnRegister end");
    return call.Send(protocol::kUnregisterScanListener, {listenerId});
}

BleStatusC BleScanner::StartBleScan(int listenerId, BleScanPolicy policy)
{
    ScannerCall call("BleScanner::StartBleScan");
    call.WhenNoReply([&] {
        VoviewDataReport::EventDataReport(VoviewDataReport::kScanEvent)
            .AddInt("EventType", kStartFailed)
            .AddInt("ErrorCode", kIpcTimeout)
            .AddInt("listenerId", listenerId)
            .AddInt("Policy", policy)
            .Report();
        call.Log(kLogMilestone, "[VoView]==== ", VoviewDataReport::kScanEvent, " ====");
        call.LogEvent(kStartFailed);
    });
    return call.Send(protocol::kStartBleScan, {listenerId, policy},
                     [&](const protocol::StatusReply& reply) {
                         if (reply.status == kBleStatusSuccess) {
                             Registry<ScanCallbacks>().ScanStart(listenerId);
                         }
                         return BleStatusOf(reply);
                     });
}

BleStatusC BleScanner::StopBleScan(int listenerId)
{
    ScannerCall call("BleScanner::StopBleScan");
    const auto stop = [&] { Registry<ScanCallbacks>().ScanStop(listenerId); };
    call.WhenNoReply(stop);
    return call.Send(protocol::kStopBleScan, {listenerId}, [&](const protocol::StatusReply& reply) {
        stop();
        return BleStatusOf(reply);
    });
}

BleStatusC BleScanner::SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize)
{
    BleCall call("BleScanner::SetScanFilter", nullptr,
                 "start listenerId:" + std::to_string(listenerId));
    if (filterSize > kMostFilters || (filterSize > 0 && filters == nullptr)) {
        call.Log(kLogFailure, "invalid filterSize", filterSize);
        return kBleStatusFailed;
    }
    call.Lock(scannerLock);
    call.WhenNotSent([&] { call.Log(kLogFailure, "Set scan filter ipc send error"); });
    protocol::SetScanFilterRequest request{};
    request.listenerId = listenerId;
    request.filterSize = filterSize;
    for (int i = 0; i < filterSize; ++i) {
        request.filters[i] = filters[i];
        call.Log(kLogTrace, "scanFilter[", i, "],patternData:", HexPattern(filters[i]));
    }
    return call.Send(protocol::kSetScanFilter, request);
}

BleStatusC BleScanner::RemoveScanFilter(int listenerId)
{
    ScannerCall call("BleScanner::RemoveScanFilter");
    call.WhenNotSent([&] { call.Log(kLogFailure, "Remove scan filter ipc send error"); });
    return call.Send(protocol::kRemoveScanFilter, {listenerId});
}

BleStatusC BleScanner::BleRegisterTargetAdvCallback(TargetAdvFilter filter,
                                                    VoviewRecvAdvCallbacksC* callbacks)
{
    BleCall call("BleScanner::BleRegisterTargetAdvCallback");
    return call.Send(protocol::kRegisterTargetAdv, {}, call.Then([&](const auto&) {
        Registry<TargetAdvCallbacks>().AddTargetAdvCb(filter.business, callbacks);
    }));
}

BleStatusC BleScanner::BleUnRegisterTargetAdvCallback(BleTargetBusiness business)
{
    BleCall call("BleScanner::BleUnRegisterTargetAdvCallback");
    Registry<TargetAdvCallbacks>().RemoveTargetAdvCb(business);
    call.EndWith("UnRegister end");
    return call.Send(protocol::kUnregisterTargetAdv, {business});
}

BleStatusC BleScanner::BleOnRecvVoviewData(TargetAdvInfo info)
{
    BleCall call("BleScanner::BleOnRecvVoviewData");
    call.WhenNotSent([&] { call.Log(kLogFailure, "recv voview data ipc send error"); });
    return call.Send(protocol::kPushTargetAdv, info);
}
