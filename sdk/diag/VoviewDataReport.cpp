#include <sdk/diag/Log.h>
#include <sdk/diag/VoviewDataReport.h>
#include <voevent/VoEvent.h>

namespace pelacon {

using diag::Log;

namespace VoviewDataReport {

EventDataReport& EventDataReport::AddInt(std::string key, std::int32_t value)
{
    ints_.emplace_back(std::move(key), value);
    return *this;
}

EventDataReport& EventDataReport::AddLong(std::string key, std::int64_t value)
{
    longs_.emplace_back(std::move(key), value);
    return *this;
}

EventDataReport& EventDataReport::AddString(std::string key, std::string value)
{
    strings_.emplace_back(std::move(key), std::move(value));
    return *this;
}

void EventDataReport::Report() const
{
    VoEvent event(eventId_);
    for (const auto& [key, value] : longs_) {
        event.PutLong(key, value);
    }
    for (const auto& [key, value] : ints_) {
        event.PutInt(key, value);
    }
    for (const auto& [key, value] : strings_) {
        event.PutString(key, value);
    }
    VoView::Report(event);
}

void ReportApplicationInterface(std::int32_t errorCode)
{
    constexpr auto kFunction = "VoviewDataReport::ReportApplicationInterface";
    constexpr auto kVersion = "0.0.0.0";
    EventDataReport(kApplicationInterfaceEvent)
        .AddInt("ErrorCode", errorCode)
        .AddString("Tavimo", kVersion)
        .AddString("WifiDriver", kVersion)
        .AddString("DriverApiLibVersion", kVersion)
        .Report();
    Log(kLogMilestone, kFunction, "[VoView]==== ", kApplicationInterfaceEvent, " ====");
    Log(kLogMilestone, kFunction, "[VoView]ErrorCode:", errorCode);
    Log(kLogMilestone, kFunction, "[VoView]Tavimo:", kVersion);
    Log(kLogMilestone, kFunction, "[VoView]WifiDriver:", kVersion);
    Log(kLogMilestone, kFunction, "[VoView]DriverApiLibVersion", kVersion);
}

}  // namespace VoviewDataReport

using VoviewDataReport::EventDataReport;

namespace {

constexpr std::int32_t kBroadcastErrorCode = 2;
constexpr std::int32_t kGattErrorCode = 10;

/// The lines that follow every event of the Bluetooth families.
void LogEvent(const char* function, std::int32_t eventId, std::int32_t eventType,
              std::int32_t errorCode, std::int32_t businessId)
{
    Log(kLogMilestone, function, "[VoView]==== ", eventId, " ====");
    Log(kLogMilestone, function, "[VoView]EventType:", eventType, ",ErrorCode:", errorCode);
    Log(kLogIncomplete, function, "[VoView]BusinessId ", businessId);
}

}  // namespace

void ReportBroadcastError(std::int32_t eventType, std::int32_t businessId)
{
    EventDataReport(VoviewDataReport::kBroadcastEvent)
        .AddInt("EventType", eventType)
        .AddInt("ErrorCode", kBroadcastErrorCode)
        .AddInt("BusinessId", businessId)
        .Report();
    LogEvent("ReportBroadcastError", VoviewDataReport::kBroadcastEvent, eventType,
             kBroadcastErrorCode, businessId);
}

void ReportClientError(std::int32_t eventType, const std::string& charUuid, std::int32_t businessId)
{
    constexpr auto kFunction = "ReportClientError";
    EventDataReport(VoviewDataReport::kGattClientEvent)
        .AddInt("EventType", eventType)
        .AddInt("ErrorCode", kGattErrorCode)
        .AddInt("BusinessId", businessId)
        .AddString("CharUuid", charUuid)
        .Report();
    LogEvent(kFunction, VoviewDataReport::kGattClientEvent, eventType, kGattErrorCode, businessId);
    Log(kLogIncomplete, kFunction, "[VoView]CharUuid ", charUuid);
}

void ReportServerError(std::int32_t eventType, const std::string& charUuid, std::int32_t businessId,
                       std::int32_t serviceHandle)
{
    constexpr auto kFunction = "ReportServerError";
    EventDataReport(VoviewDataReport::kGattServerEvent)
        .AddInt("EventType", eventType)
        .AddInt("ErrorCode", kGattErrorCode)
        .AddInt("BusinessId", businessId)
        .AddInt("ServiceHandle", serviceHandle)
        .AddString("CharUuid", charUuid)
        .Report();
    LogEvent(kFunction, VoviewDataReport::kGattServerEvent, eventType, kGattErrorCode, businessId);
    Log(kLogIncomplete, kFunction, "[VoView]ServiceHandle ", serviceHandle);
    Log(kLogIncomplete, kFunction, "[VoView]CharUuid ", charUuid);
}

}  // namespace pelacon
