// An access point of this service: a virtual interface, a wpa_supplicant that is the access point,
// and a dnsmasq that gives addresses to its stations.
#pragma once

#include <service/linux/ChildProcess.h>
#include <service/linux/Loop.h>
#include <service/linux/wifi/AccessPointFiles.h>
#include <service/linux/wifi/SupplicantControl.h>
#include <service/linux/wifi/VirtualInterface.h>
#include <service/radio/Groups.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// How long it may take. Programs wait for 20 s, and for 5 s for a move.
struct AccessPointLimits {
    std::chrono::milliseconds make{15000};
    std::chrono::milliseconds end{1000};
    std::chrono::milliseconds move{4000};
    std::chrono::milliseconds moveAgain{1000};  ///< until the next try: a card that scans refuses
    std::chrono::milliseconds address{5000};    ///< a station may be without one
};

/// What access points use of the system. Tests have other programs and folders.
struct AccessPointAccess {
    std::string folder;  ///< for their files; there are no access points without it
    std::string supplicant = "wpa_supplicant";
    std::string dnsmasq = "dnsmasq";
    /// The kernel's number of a network interface; 0 if there is none of this name.
    std::function<std::uint32_t(const std::string& name)> indexOf = &IndexOfInterface;
    std::optional<Account> account;  ///< of the programs; this process's own if there is none
    AccessPointLimits limits;
};

struct AccessPointPlan {
    std::uint64_t id = 0;  ///< unlike those of all others, and not 0
    std::uint32_t card = 0;
    std::string ssid;
    std::string passPhrase;
    std::uint64_t address = 0;
    std::string ipAddress;
    std::int32_t channel = 0;
};

/// What happens to the access point of a plan.
struct AccessPointEvent {
    enum class Kind : std::uint8_t {
        kMade,           ///< it is there, or it failed: the first event of each plan
        kEnded,          ///< it is gone, and so are its stations: the last event
        kMoved,          ///< to the channel
        kStationJoined,  ///< the station
        kStationLeft,    ///< likewise
    };
    std::uint64_t plan = 0;  ///< its id
    Kind kind = Kind::kMade;
    radio::GroupOutcome outcome = radio::GroupOutcome::kDone;
    std::string interface;
    std::uint32_t index = 0;  ///< the interface's
    std::int32_t channel = 0;
    radio::Station station;
};

/// One at a time, again and again:
///
///   absent --Make--> making --> up --> ending --> absent
///                      \__________________^
///
/// In the loop's thread.
class AccessPoint {
  public:
    using Heard = std::function<void(const AccessPointEvent&)>;
    using Moved = std::function<void(radio::GroupOutcome)>;

    /// `heard` must not destroy this.
    AccessPoint(Loop& loop, NetlinkAccess netlink, AccessPointAccess access, Heard heard);

    /// Ends it at once.
    ~AccessPoint();

    AccessPoint(const AccessPoint&) = delete;
    AccessPoint& operator=(const AccessPoint&) = delete;

    /// Begins to make it, once the one before has ended.
    void Make(AccessPointPlan plan);

    /// Begins to end it, if the plan is still the one that was given last. With kWifiOff it is gone
    /// already.
    void End(std::uint64_t plan, radio::GroupOutcome why);
    void EndAny(radio::GroupOutcome why);

    /// The number of its interface; 0 if it has none.
    std::uint32_t InterfaceIndex() const { return interface_ ? interface_->Index() : 0; }

    /// The channel that it is on, or will be on; 0 if there is none.
    std::int32_t Channel() const;

    /// Begins to move it. `done` is called once, later: kNoGroup if it is not there (any more).
    void Move(std::uint64_t plan, std::int32_t channel, Moved done);

  private:
    using Kind = AccessPointEvent::Kind;
    enum class State : std::uint8_t { kAbsent, kMaking, kUp, kEnding };

    void BeginNext();
    void MakeInterface();
    void StartPrograms();
    void StartSupplicant();
    void StartDnsmasq();
    void Start(std::optional<ChildProcess>& child, const std::vector<std::string>& arguments,
               std::vector<Capability> capabilities);
    void ConnectToSupplicant();
    void IsUp();

    void EndSoon(radio::GroupOutcome why);
    void EndNow(radio::GroupOutcome why);
    void ProgramEnded(std::optional<ChildProcess>& child, const std::string& name, int code);
    void Finish();

    void SupplicantHeard(const SupplicantEvent& event);
    void Joined(std::uint64_t station);
    void Left(std::uint64_t station);
    void LookForAddresses();

    void TryMove();
    void MoveAnswered(bool isAccepted);
    void EndMove(radio::GroupOutcome outcome);

    void Report(AccessPointEvent::Kind kind, radio::GroupOutcome outcome,
                const radio::Station& station = {});

    Loop& loop_;
    NetlinkAccess netlink_;
    AccessPointAccess access_;
    Heard heard_;

    State state_ = State::kAbsent;
    AccessPointPlan plan_;                 // unless it is absent
    std::optional<AccessPointPlan> next_;  // waits for the end
    bool wasUp_ = false;
    radio::GroupOutcome why_{};  // it ends
    std::string interfaceName_;
    Loop::Timer step_;   // the next one
    Loop::Timer limit_;  // of making, or of ending
    Loop::Timer down_;   // the access point may be down until then

    std::optional<AccessPointFiles> files_;
    std::optional<VirtualInterface> interface_;
    std::optional<ChildProcess> supplicant_;
    std::optional<ChildProcess> dnsmasq_;
    std::optional<SupplicantControl> control_;

    std::map<std::uint64_t, Loop::Clock::time_point> arriving_;  // stations without an address
    std::set<std::uint64_t> stations_;                           // that were reported
    Leases staleLeases_;                                         // of stations that have left
    Loop::Timer addresses_;

    std::int32_t goal_ = 0;   // the channel that it moves to; 0 if it does not
    std::int32_t asked_ = 0;  // the channel of a move that was not answered yet; 0 if there is none
    Moved moved_;
    Loop::Timer moveAgain_;
    Loop::Timer moveLimit_;
};

}  // namespace pelacon::service::linux_radios::wifi
