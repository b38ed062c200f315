// Listeners: who scans, how, and for what.
#pragma once

#include <protocol/BleScanner.h>
#include <service/core/Family.h>
#include <service/families/ScanFilter.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace pelacon::service {

/// A client's results carry no listener id: the library hands each to all of its listeners that
/// scan. So there is one scan per client, with the fastest policy of its listeners, and a result is
/// sent if one of them wants it.
class ScanFamily : public Family {
  public:
    /// A client can have so many listeners.
    static constexpr std::size_t kMostListeners = 64;

    explicit ScanFamily(const Context& context);

    void ClientLeft(Session& session) override;

    /// The ids alone are known: a listener that is held scans again, for everything, as it may have
    /// been scanning, and is told so.
    void Repair(Session& session, const protocol::RepairRequest& held) override;

    void Describe(nlohmann::json& status) const override;

  private:
    struct Listener {
        std::optional<radio::ScanPolicy> policy;  // while it scans
        ScanFilters filters;
    };
    struct Client {
        std::map<std::int32_t, Listener> listeners;
        std::optional<radio::ScanPolicy> policy;  // of the scan
        std::unique_ptr<radio::Scan> scan;
    };

    protocol::ValueStatusReply Register(Session& session);
    std::int32_t Unregister(Session& session, std::int32_t id);
    std::int32_t Start(Session& session, const protocol::StartScanRequest& request);
    std::int32_t Stop(Session& session, std::int32_t id);
    std::int32_t SetFilters(Session& session, std::int32_t id, const ScanFilters& filters);

    Listener* Find(Session& session, std::int32_t id);
    void FitScan(Session& session);
    void Tell(Session& session, const radio::Heard& heard);
    void AdapterWentOff();

    Context context_;
    radio::Adapter& adapter_;
    radio::Scanner& scanner_;
    std::map<Session*, Client> clients_;
};

}  // namespace pelacon::service
