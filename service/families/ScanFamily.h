// Scanning: each client has listeners with filters.
#pragma once

#include <protocol/BleScanner.h>
#include <service/core/Family.h>
#include <service/families/ScanFilter.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace pelacon::service {

/// A client's results carry no listener id: the library passes each result to all of its scanning
/// listeners. So there is one scan per client, with the fastest policy of its listeners, and a
/// result is sent if it matches the filters of one of them.
class ScanFamily : public Family {
  public:
    /// How many listeners a client can have.
    static constexpr std::size_t kMostListeners = 64;

    explicit ScanFamily(const Context& context);
    ~ScanFamily() override;

    void ClientLeft(Session& session) override;

    /// Only the ids are known: listeners scan again without filters, as they may have been scanning
    /// before, and the client is notified of that.
    void Repair(Session& session, const protocol::RepairRequest& held) override;

    void Describe(json::Output& status) const override;

  private:
    class Scan;

    struct Listener {
        std::optional<radio::ScanPolicy> policy;  // while it scans, or is to
        bool isNotified = false;                  // that it scans
        ScanFilters filters;
    };
    struct Client {
        std::map<std::int32_t, Listener> listeners;
        std::unique_ptr<Scan> scan;  // has started
        std::unique_ptr<Scan> next;  // has not; replaces the other when it has
    };

    protocol::ValueStatusReply Register(Session& session);
    std::int32_t Unregister(Session& session, const protocol::ScanListenerRequest& request);
    std::int32_t Start(Session& session, const protocol::StartScanRequest& request);
    std::int32_t Stop(Session& session, const protocol::ScanListenerRequest& request);
    std::int32_t SetFilters(Session& session, std::int32_t id, const ScanFilters& filters);

    Listener* Find(Session& session, std::int32_t id);
    void FitScan(Session& session);
    void NotifyStarted(Session& session);
    void StopAll(Session& session, std::int32_t why);

    // Of a scan:
    void Started(Session& session);
    void Received(Session& session, const radio::Heard& heard);
    void Ended(Session& session, const Scan& scan, radio::Outcome why);

    void AdapterWentOff();

    Context context_;
    radio::Adapter& adapter_;
    radio::Scanner& scanner_;
    std::map<Session*, Client> clients_;
};

}  // namespace pelacon::service
