#include <PelaconSDK/BleAdvertiser.h>
#include <karvell_secure_c/securec.h>
#include <protocol/BleAdvertiser.h>
#include <sdk/api/BleCall.h>
#include <sdk/diag/VoviewDataReport.h>
#include <sdk/ipc/AdvertiserCallbacks.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace pelacon;

namespace {

// Types of the advertiser's diagnostic event.
constexpr std::int32_t kRegisterFailed = 1;
constexpr std::int32_t kStartFailed = 2;

constinit os::Lock advertiserLock;

bool TimesAreValid(const BleAdvertiseParamsC& params)
{
    const std::int32_t total = params.sendTotalTime;
    const std::int32_t part = params.sendPartTime;
    return total >= 0 && part >= 0 && (total == 0 || total >= part);
}

/// False, with a line in the log, when there are more bytes than the field holds.
bool FillField(const BleCall& call, const std::vector<std::uint8_t>& bytes,
               protocol::AdvertisingField& field)
{
    if (memcpy_s(field.bytes, sizeof field.bytes, bytes.data(), bytes.size()) != 0) {
        call.Log(kLogFailure, "memcpy failed!");
        return false;
    }
    field.length = static_cast<std::uint32_t>(bytes.size());
    return true;
}

/// The event type to send: an unknown one becomes 0.
std::int32_t CheckedEventType(const BleCall& call, std::int32_t eventType)
{
    call.Log(kLogMilestone, "advEventType:", eventType);
    if (eventType >= kBleAdvConnectable && eventType <= kBleAdvNonConnectable) {
        return eventType;
    }
    constexpr std::int32_t kDefault = kBleAdvConnectable;
    call.Log(kLogMilestone, "advEventType set defult:", kDefault);
    return kDefault;
}

}  // namespace

BleStatusC BleAdvertiser::BleAdvRegisterCallbacks(BleAdvCallbacksC* advCallback, int* businessId)
{
    BleCall call("BleAdvertiser::BleAdvRegisterCallbacks", &advertiserLock);
    if (call.IsNull("advCallback", advCallback) || call.IsNull("businessId", businessId)) {
        return kBleStatusFailed;
    }
    call.WhenNoReply([] { ReportBroadcastError(kRegisterFailed, 0); });
    return call.Send(protocol::kRegisterAdvertiser, {},
                     call.Then([&](const protocol::ValueStatusReply& reply) {
                         Registry<AdvertiserCallbacks>().AddAdvCb(advCallback, reply.value);
                         *businessId = reply.value;
                     }));
}

BleStatusC BleAdvertiser::BleAdvUnRegisterCallbacks(int advId)
{
    BleCall call("BleAdvertiser::BleAdvUnRegisterCallbacks");
    Registry<AdvertiserCallbacks>().RemoveAdvCb(advId);
    call.Lock(advertiserLock);
    return call.Send(protocol::kUnregisterAdvertiser, {advId});
}

BleStatusC BleAdvertiser::BleStartAdvertise(int advId, const BleAdvertiseParamsC& params,
                                            const BleAdvertiseData& data)
{
    BleCall call("BleAdvertiser::BleStartAdvertise", nullptr,
                 "start sendTotalTime:" + std::to_string(params.sendTotalTime) +
                     ",sendPartTime:" + std::to_string(params.sendPartTime));
    if (!TimesAreValid(params)) {
        return call.Refuse(kLogFailure, "part time param invalid");
    }
    call.Lock(advertiserLock);
    protocol::StartAdvertiseRequest request{advId, params, {}, {}};
    if (!FillField(call, data.advData, request.advData) ||
        !FillField(call, data.scanResp, request.scanResp)) {
        return kBleStatusDataTooLong;
    }
    call.Log(kLogMilestone, "advData size:", data.advData.size(),
             ",scanResp size:", data.scanResp.size());
    request.params.advEventType = CheckedEventType(call, params.advEventType);
    call.WhenNoReply([&] { ReportBroadcastError(kStartFailed, advId); });
    return call.Send(protocol::kStartAdvertise, request);
}

BleStatusC BleAdvertiser::BleStopAdvertise(int advId)
{
    return BleCall("BleAdvertiser::BleStopAdvertise", &advertiserLock)
        .Send(protocol::kStopAdvertise, {advId});
}
