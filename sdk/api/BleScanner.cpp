#include <PelaconSDK/BleScanner.h>
#include <os/Lock.h>
#include <protocol/BleScanner.h>
#include <protocol/TargetAdv.h>
#include <sdk/api/BleFailures.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

#include <algorithm>
#include <bit>
#include <string>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

static_assert(sizeof(BleScanResultC) == sizeof(protocol::ScanResult));
static_assert(sizeof(BleScanFilter) == sizeof(protocol::ScanFilter));
static_assert(sizeof(TargetAdvInfo) == sizeof(protocol::TargetAdvRecord));
static_assert(sizeof(TargetAdvFilter) == 276);

namespace {

constexpr std::int32_t kMostFilters = protocol::kMostScanFilters;

// The scan family's diagnostic event.
constexpr std::int32_t kRegisterFailed = 1;
constexpr std::int32_t kStartFailed = 2;
constexpr std::int32_t kIpcTimeout = 2;

/// Held by each of a listener's operations from before its request until after its reply.
constinit os::Lock scannerLock;

IPCMessageSender& Sender()
{
    return IPCMessageSender::GetInstance();
}

void LogScanEvent(const char* function, std::int32_t eventType)
{
    Log(kLogMilestone, function, "[VoView]EventType:", eventType, " ,ErrorCode:", kIpcTimeout);
}

/// The filter's pattern for people: 0A:1B:FF. A length beyond the field counts as the field's.
std::string HexPattern(const BleScanFilter& filter)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    const std::size_t length =
        std::min<std::size_t>(filter.patternLength, sizeof filter.patternData);
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        const std::uint8_t byte = filter.patternData[i];
        text.append(i == 0 ? "" : ":").append({kDigits[byte >> 4], kDigits[byte & 0x0F]});
    }
    return text;
}

}  // namespace

BleStatusC BleScanner::BleScanRegisterCallbacks(BleScanCallbacksC* callbacks, int* listenerId)
{
    constexpr auto kFunction = "BleScanner::BleScanRegisterCallbacks";
    LogStart(kFunction);
    std::unique_lock lock(scannerLock);
    const auto reportTimeout = [&] {
        VoviewDataReport::EventDataReport(VoviewDataReport::kScanEvent)
            .AddInt("EventType", kRegisterFailed)
            .AddInt("ErrorCode", kIpcTimeout)
            .Report();
        LogScanEvent(kFunction, kRegisterFailed);
    };
    return Exchange(kFunction, protocol::kRegisterScanListener, {},
                    kBleFailures.OnNoReply(reportTimeout),
                    [&](const protocol::ValueStatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            lock.unlock();
                            Sender().AddScanCb(callbacks, reply.value);
                            *listenerId = reply.value;
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}

BleStatusC BleScanner::BleScanUnRegisterCallbacks(int listenerId)
{
    constexpr auto kFunction = "BleScanner::BleScanUnRegisterCallbacks";
    LogStart(kFunction);
    Sender().RemoveScanCb(listenerId);
    const std::lock_guard lock(scannerLock);
    return Exchange(kFunction, protocol::kUnregisterScanListener, {listenerId}, kBleFailures,
                    BleStatusOf, "UnRegister end");
}

BleStatusC BleScanner::StartBleScan(int listenerId, BleScanPolicy policy)
{
    constexpr auto kFunction = "BleScanner::StartBleScan";
    LogStart(kFunction);
    const std::lock_guard lock(scannerLock);
    const auto reportTimeout = [&] {
        VoviewDataReport::EventDataReport(VoviewDataReport::kScanEvent)
            .AddInt("EventType", kStartFailed)
            .AddInt("ErrorCode", kIpcTimeout)
            .AddInt("listenerId", listenerId)
            .AddInt("Policy", policy)
            .Report();
        Log(kLogMilestone, kFunction, "[VoView]==== ", VoviewDataReport::kScanEvent, " ====");
        LogScanEvent(kFunction, kStartFailed);
    };
    return Exchange(kFunction, protocol::kStartBleScan, {listenerId, policy},
                    kBleFailures.OnNoReply(reportTimeout), [&](const protocol::StatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            Sender().ScanStart(listenerId);
                        }
                        return BleStatusOf(reply);
                    });
}

BleStatusC BleScanner::StopBleScan(int listenerId)
{
    constexpr auto kFunction = "BleScanner::StopBleScan";
    LogStart(kFunction);
    const std::lock_guard lock(scannerLock);
    const auto stop = [&] { Sender().ScanStop(listenerId); };
    return Exchange(kFunction, protocol::kStopBleScan, {listenerId}, kBleFailures.OnNoReply(stop),
                    [&](const protocol::StatusReply& reply) {
                        stop();
                        return BleStatusOf(reply);
                    });
}

BleStatusC BleScanner::SetScanFilter(int listenerId, BleScanFilter* filters, int filterSize)
{
    constexpr auto kFunction = "BleScanner::SetScanFilter";
    Log(kLogTrace, kFunction, "start listenerId:", listenerId);
    if (filterSize > kMostFilters || (filterSize > 0 && filters == nullptr)) {
        Log(kLogFailure, kFunction, "invalid filterSize", filterSize);
        return kBleStatusFailed;
    }
    const std::lock_guard lock(scannerLock);
    protocol::SetScanFilterRequest request{};
    request.listenerId = listenerId;
    request.filterSize = filterSize;
    for (int i = 0; i < filterSize; ++i) {
        request.filters[i] = std::bit_cast<protocol::ScanFilter>(filters[i]);
        Log(kLogTrace, kFunction, "scanFilter[", i, "],patternData:", HexPattern(filters[i]));
    }
    const auto logNotSent = [&] { Log(kLogFailure, kFunction, "Set scan filter ipc send error"); };
    return Exchange(kFunction, protocol::kSetScanFilter, request,
                    kBleFailures.OnNotSent(logNotSent), BleStatusOf);
}

BleStatusC BleScanner::RemoveScanFilter(int listenerId)
{
    constexpr auto kFunction = "BleScanner::RemoveScanFilter";
    LogStart(kFunction);
    const std::lock_guard lock(scannerLock);
    const auto logNotSent = [&] {
        Log(kLogFailure, kFunction, "Remove scan filter ipc send error");
    };
    return Exchange(kFunction, protocol::kRemoveScanFilter, {listenerId},
                    kBleFailures.OnNotSent(logNotSent), BleStatusOf);
}

BleStatusC BleScanner::BleRegisterTargetAdvCallback(TargetAdvFilter filter,
                                                    VoviewRecvAdvCallbacksC* callbacks)
{
    constexpr auto kFunction = "BleScanner::BleRegisterTargetAdvCallback";
    LogStart(kFunction);
    return Exchange(kFunction, protocol::kRegisterTargetAdv, {}, kBleFailures,
                    [&](const protocol::StatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            Sender().AddTargetAdvCb(filter.business, callbacks);
                        }
                        return BleStatusOf(reply);
                    });
}

BleStatusC BleScanner::BleUnRegisterTargetAdvCallback(BleTargetBusiness business)
{
    constexpr auto kFunction = "BleScanner::BleUnRegisterTargetAdvCallback";
    LogStart(kFunction);
    Sender().RemoveTargetAdvCb(business);
    return Exchange(kFunction, protocol::kUnregisterTargetAdv, {business}, kBleFailures,
                    BleStatusOf, "UnRegister end");
}

BleStatusC BleScanner::BleOnRecvVoviewData(TargetAdvInfo info)
{
    constexpr auto kFunction = "BleScanner::BleOnRecvVoviewData";
    LogStart(kFunction);
    const auto logNotSent = [&] { Log(kLogFailure, kFunction, "recv voview data ipc send error"); };
    return Exchange(kFunction, protocol::kPushTargetAdv,
                    std::bit_cast<protocol::TargetAdvRecord>(info),
                    kBleFailures.OnNotSent(logNotSent), BleStatusOf);
}
