#include <PelaconSDK/BleAdvertiser.h>
#include <karvell_secure_c/securec.h>
#include <os/Lock.h>
#include <protocol/BleAdvertiser.h>
#include <sdk/api/BleFailures.h>
#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/Exchange.h>

#include <cstdint>
#include <vector>

using namespace pelacon;  // NOLINT(google-build-using-namespace)
using diag::Log;
using diag::LogStart;

namespace {

// Types of the advertiser's diagnostic event.
constexpr std::int32_t kRegisterFailed = 1;
constexpr std::int32_t kStartFailed = 2;

/// Held by each operation from before its request until after its reply.
constinit os::Lock advertiserLock;

IPCMessageSender& Sender()
{
    return IPCMessageSender::GetInstance();
}

bool TimesAreValid(const BleAdvertiseParamsC& params)
{
    const std::int32_t total = params.sendTotalTime;
    const std::int32_t part = params.sendPartTime;
    return total >= 0 && part >= 0 && (total == 0 || total >= part);
}

/// False, with a line in the log, when there are more bytes than the field holds.
bool FillField(const char* function, const std::vector<std::uint8_t>& bytes,
               protocol::AdvertisingField& field)
{
    if (memcpy_s(field.bytes, sizeof field.bytes, bytes.data(), bytes.size()) != 0) {
        Log(kLogFailure, function, "memcpy failed!");
        return false;
    }
    field.length = static_cast<std::uint32_t>(bytes.size());
    return true;
}

/// The event type to send: one that nobody knows becomes 0.
std::int32_t CheckedEventType(const char* function, std::int32_t eventType)
{
    Log(kLogMilestone, function, "advEventType:", eventType);
    if (eventType >= kBleAdvConnectable && eventType <= kBleAdvNonConnectable) {
        return eventType;
    }
    constexpr std::int32_t kDefault = kBleAdvConnectable;
    Log(kLogMilestone, function, "advEventType set defult:", kDefault);
    return kDefault;
}

}  // namespace

BleStatusC BleAdvertiser::BleAdvRegisterCallbacks(BleAdvCallbacksC* advCallback, int* businessId)
{
    constexpr auto kFunction = "BleAdvertiser::BleAdvRegisterCallbacks";
    LogStart(kFunction);
    std::unique_lock lock(advertiserLock);
    if (advCallback == nullptr) {
        Log(kLogIncomplete, kFunction, "advCallback is nullptr, return");
        return kBleStatusFailed;
    }
    if (businessId == nullptr) {
        Log(kLogIncomplete, kFunction, "businessId is nullptr, return");
        return kBleStatusFailed;
    }
    return Exchange(kFunction, protocol::kRegisterAdvertiser, {},
                    kBleFailures.OnNoReply([] { ReportBroadcastError(kRegisterFailed, 0); }),
                    [&](const protocol::ValueStatusReply& reply) {
                        if (reply.status == kBleStatusSuccess) {
                            lock.unlock();
                            Sender().AddAdvCb(advCallback, reply.value);
                            *businessId = reply.value;
                        }
                        return static_cast<BleStatusC>(reply.status);
                    });
}

BleStatusC BleAdvertiser::BleAdvUnRegisterCallbacks(int advId)
{
    constexpr auto kFunction = "BleAdvertiser::BleAdvUnRegisterCallbacks";
    LogStart(kFunction);
    Sender().RemoveAdvCb(advId);
    const std::lock_guard lock(advertiserLock);
    return Exchange(kFunction, protocol::kUnregisterAdvertiser, {advId}, kBleFailures, BleStatusOf);
}

BleStatusC BleAdvertiser::BleStartAdvertise(int advId, const BleAdvertiseParamsC& params,
                                            const BleAdvertiseData& data)
{
    constexpr auto kFunction = "BleAdvertiser::BleStartAdvertise";
    Log(kLogTrace, kFunction, "start sendTotalTime:", params.sendTotalTime,
        ",sendPartTime:", params.sendPartTime);
    if (!TimesAreValid(params)) {
        Log(kLogFailure, kFunction, "part time param invalid");
        return kBleStatusFailed;
    }
    const std::lock_guard lock(advertiserLock);
    protocol::StartAdvertiseRequest request{advId,
                                            params.minInterval,
                                            params.maxInterval,
                                            params.channelMap,
                                            params.advEventType,
                                            params.txPower,
                                            params.sendTotalTime,
                                            params.sendPartTime,
                                            {},
                                            {}};
    if (!FillField(kFunction, data.advData, request.advData) ||
        !FillField(kFunction, data.scanResp, request.scanResp)) {
        return kBleStatusDataTooLong;
    }
    Log(kLogMilestone, kFunction, "advData size:", data.advData.size(),
        ",scanResp size:", data.scanResp.size());
    request.advEventType = CheckedEventType(kFunction, params.advEventType);
    return Exchange(kFunction, protocol::kStartAdvertise, request,
                    kBleFailures.OnNoReply([&] { ReportBroadcastError(kStartFailed, advId); }),
                    BleStatusOf);
}

BleStatusC BleAdvertiser::BleStopAdvertise(int advId)
{
    constexpr auto kFunction = "BleAdvertiser::BleStopAdvertise";
    LogStart(kFunction);
    const std::lock_guard lock(advertiserLock);
    return Exchange(kFunction, protocol::kStopAdvertise, {advId}, kBleFailures, BleStatusOf);
}
