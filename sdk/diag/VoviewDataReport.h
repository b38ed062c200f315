// Diagnostic events: how one is put together, and the ones that several families report.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace pelacon {

namespace VoviewDataReport {

/// Ids of the events that the library reports.
inline constexpr std::int32_t kApplicationInterfaceEvent = 954079014;
inline constexpr std::int32_t kBtMacAndNameEvent = 954082006;
inline constexpr std::int32_t kScanEvent = 954082007;
inline constexpr std::int32_t kBroadcastEvent = 954082008;
inline constexpr std::int32_t kGattClientEvent = 954082009;
inline constexpr std::int32_t kGattServerEvent = 954082010;

/// One event being assembled. Entries of each kind keep the order in which they were added.
class EventDataReport {
  public:
    explicit EventDataReport(std::int32_t eventId) : eventId_(eventId) {}
    virtual ~EventDataReport() = default;
    EventDataReport(const EventDataReport&) = delete;
    EventDataReport& operator=(const EventDataReport&) = delete;

    EventDataReport& AddInt(std::string key, std::int32_t value);
    EventDataReport& AddLong(std::string key, std::int64_t value);
    EventDataReport& AddString(std::string key, std::string value);

    /// Reports the event: long entries first, then integers, then strings.
    void Report() const;

  private:
    std::int32_t eventId_;
    std::vector<std::pair<std::string, std::int32_t>> ints_;
    std::vector<std::pair<std::string, std::int64_t>> longs_;
    std::vector<std::pair<std::string, std::string>> strings_;
};

/// A request of the Wi-Fi families failed.
void ReportApplicationInterface(std::int32_t errorCode);

}  // namespace VoviewDataReport

/// A request of the advertiser failed.
void ReportBroadcastError(std::int32_t eventType, std::int32_t businessId);

/// A request of the GATT client failed.
void ReportClientError(std::int32_t eventType, const std::string& charUuid,
                       std::int32_t businessId);

/// A request of the GATT server failed.
void ReportServerError(std::int32_t eventType, const std::string& charUuid, std::int32_t businessId,
                       std::int32_t serviceHandle);

}  // namespace pelacon
