#include <service/base/Log.h>
#include <service/linux/wifi/AccessPoint.h>
#include <service/linux/wifi/Nl80211.h>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <system_error>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

using radio::GroupOutcome;

namespace {

constexpr std::chrono::milliseconds kConnectAgain{20};
constexpr std::chrono::milliseconds kAddressesAgain{200};
/// How long the access point may be down before that counts: an rfkill switch or a removed card is
/// the better reason, and known soon.
constexpr std::chrono::milliseconds kDownLimit{300};
constexpr int kMostInterfaces = 10;

GroupOutcome OutcomeOf(int error)
{
    if (error == ERFKILL) {
        return GroupOutcome::kWifiOff;
    }
    return error == EPERM || error == EACCES ? GroupOutcome::kNotPermitted : GroupOutcome::kFailed;
}

std::uint32_t FrequencyOf(std::int32_t channel)
{
    return static_cast<std::uint32_t>(radio::FrequencyOf(channel));
}

/// The addresses from 10 to 200 of the network.
std::string RangeOf(const std::string& ipAddress)
{
    const std::string network = ipAddress.substr(0, ipAddress.rfind('.') + 1);
    return network + "10," + network + "200,1h";
}

}  // namespace

AccessPoint::AccessPoint(Loop& loop, NetlinkAccess netlink, AccessPointAccess access, Heard heard)
    : loop_(loop),
      netlink_(std::move(netlink)),
      access_(std::move(access)),
      heard_(std::move(heard))
{}

AccessPoint::~AccessPoint()
{
    // The programs first, which use the others.
    control_.reset();
    supplicant_.reset();
    dnsmasq_.reset();
}

// ---- Making it: one step after the other.

void AccessPoint::Make(AccessPointPlan plan)
{
    next_ = std::move(plan);
    if (state_ == State::kAbsent) {
        step_ = loop_.After(Loop::Duration::zero(), [this] { BeginNext(); });
    }
}

void AccessPoint::BeginNext()
{
    if (!next_) {
        return;  // it was ended before
    }
    plan_ = *std::exchange(next_, std::nullopt);
    state_ = State::kMaking;
    wasUp_ = false;
    limit_ = loop_.After(access_.limits.make, [this] {
        log::Warning("access point: it took too long");
        EndNow(GroupOutcome::kFailed);
    });
    try {
        MakeInterface();
    } catch (const std::exception& error) {
        log::Warning("access point: ", error.what());
        EndSoon(GroupOutcome::kFailed);
    }
}

void AccessPoint::MakeInterface()
{
    for (int number = 0; number < kMostInterfaces; ++number) {
        interfaceName_ = "pelacon" + std::to_string(number);
        // One that has a folder is being made.
        if (access_.indexOf(interfaceName_) == 0 &&
            !std::filesystem::exists(access_.folder + "/" + interfaceName_)) {
            break;
        }
    }
    files_.emplace(access_.folder, interfaceName_, access_.account);
    files_->WriteConfiguration(plan_.ssid, plan_.passPhrase, FrequencyOf(plan_.channel));
    interface_.emplace(
        loop_, netlink_,
        VirtualInterface::Plan{plan_.card, interfaceName_, plan_.address, plan_.ipAddress},
        [this](int error) {
            if (error != 0) {
                log::Warning("access point: no interface ", interfaceName_, ": ",
                             std::generic_category().message(error));
                EndSoon(OutcomeOf(error));
            } else {
                StartPrograms();
            }
        });
}

void AccessPoint::StartPrograms()
{
    try {
        StartSupplicant();
        StartDnsmasq();
        step_ = loop_.After(kConnectAgain, [this] { ConnectToSupplicant(); });
    } catch (const std::system_error& error) {
        log::Warning("access point: ", error.what());
        EndSoon(GroupOutcome::kFailed);
    }
}

void AccessPoint::StartSupplicant()
{
    // To change the interface, and for the frames of the keys' exchange.
    Start(
        supplicant_,
        {access_.supplicant, "-i", interfaceName_, "-D", "nl80211", "-c", files_->Configuration()},
        {Capability::kNetAdmin, Capability::kNetRaw});
}

void AccessPoint::StartDnsmasq()
{
    // To answer stations that have no address yet (their entries in the kernel's table), and for
    // the port of DHCP.
    Start(dnsmasq_,
          {access_.dnsmasq, "--keep-in-foreground", "--conf-file=/dev/null",
           "--log-facility=/dev/null", "--pid-file=", "--user=", "--group=", "--port=0",
           "--bind-dynamic", "--interface=" + interfaceName_,
           "--dhcp-range=" + RangeOf(plan_.ipAddress), "--dhcp-authoritative",
           "--no-ping",  // nobody else gives addresses here, so nobody has them
           "--dhcp-option=option:router", "--dhcp-option=option:dns-server",
           "--dhcp-leasefile=" + files_->LeaseFile()},
          {Capability::kNetAdmin, Capability::kNetBindService});
}

void AccessPoint::Start(std::optional<ChildProcess>& child,
                        const std::vector<std::string>& arguments,
                        std::vector<Capability> capabilities)
{
    child.emplace(
        loop_, arguments, ProcessRights{std::move(capabilities), access_.account},
        [this, &child, name = arguments.front()](int code) { ProgramEnded(child, name, code); });
}

/// Until its socket is there.
void AccessPoint::ConnectToSupplicant()
{
    try {
        // A wpa_supplicant that starts is busy for a while, and answers late: an answer must not be
        // taken for that of the next command.
        control_.emplace(
            loop_, wifi::ConnectToSupplicant(files_->ControlSocket()),
            [this](const SupplicantEvent& event) { SupplicantHeard(event); }, access_.limits.make);
    } catch (const std::system_error& error) {
        const int code = error.code().value();
        if (code == ENOENT || code == ECONNREFUSED) {  // not there yet, or not listening yet
            step_ = loop_.After(kConnectAgain, [this] { ConnectToSupplicant(); });
        } else {
            log::Warning("access point: ", error.what());
            EndSoon(OutcomeOf(code));
        }
        return;
    }
    // It may have come up before its events were asked for.
    control_->Send("ATTACH", [](const std::string& /*answer*/) {});
    control_->Send("STATUS", [this](const std::string& answer) {
        if (answer.find("wpa_state=COMPLETED") != std::string::npos) {
            IsUp();
        }
    });
}

void AccessPoint::IsUp()
{
    if (state_ == State::kMaking) {
        limit_.Cancel();
        state_ = State::kUp;
        wasUp_ = true;
        Report(Kind::kMade, GroupOutcome::kDone);
    }
}

// ---- Ending it.

void AccessPoint::End(std::uint64_t plan, GroupOutcome why)
{
    if (next_ && next_->id == plan) {
        next_.reset();
        heard_({plan, Kind::kMade, GroupOutcome::kAborted, {}, 0, 0, {}});
    } else if (plan_.id == plan) {
        EndNow(state_ == State::kMaking && why == GroupOutcome::kDone ? GroupOutcome::kAborted
                                                                      : why);
    }
}

void AccessPoint::EndAny(GroupOutcome why)
{
    if (next_) {
        const std::uint64_t plan = next_->id;
        next_.reset();
        heard_({plan, Kind::kMade, why, {}, 0, 0, {}});
    }
    EndNow(why);
}

/// For functions that are called by what the end destroys.
void AccessPoint::EndSoon(GroupOutcome why)
{
    step_ = loop_.After(Loop::Duration::zero(), [this, why] { EndNow(why); });
}

void AccessPoint::EndNow(GroupOutcome why)
{
    if (state_ != State::kMaking && state_ != State::kUp) {
        return;
    }
    state_ = State::kEnding;
    why_ = why;
    step_.Cancel();
    down_.Cancel();
    addresses_.Cancel();
    EndMove(GroupOutcome::kNoGroup);
    const bool isAsked = why == GroupOutcome::kDone || why == GroupOutcome::kAborted;
    if (isAsked && supplicant_) {
        // Stations are notified by its wpa_supplicant.
        supplicant_->Terminate();
        limit_ = loop_.After(access_.limits.end, [this] { Finish(); });
    } else {
        limit_ = loop_.After(Loop::Duration::zero(), [this] { Finish(); });
    }
}

void AccessPoint::ProgramEnded(std::optional<ChildProcess>& child, const std::string& name,
                               int code)
{
    const bool isSupplicant = &child == &supplicant_;
    if (state_ == State::kEnding) {
        if (isSupplicant) {
            limit_ = loop_.After(Loop::Duration::zero(), [this] { Finish(); });
        }
    } else if (code == ChildProcess::kNotStarted) {
        log::Warning("access point: ", name, " cannot be started: is it installed?");
        EndSoon(GroupOutcome::kFailed);
    } else {
        log::Warning("access point: ", name, " ended with ", code);
        step_ = loop_.After(kDownLimit, [this] { EndNow(GroupOutcome::kFailed); });
    }
}

/// Nothing is left behind.
void AccessPoint::Finish()
{
    limit_.Cancel();
    control_.reset();
    supplicant_.reset();
    dnsmasq_.reset();
    interface_.reset();
    files_.reset();
    arriving_.clear();
    stations_.clear();
    staleLeases_.clear();
    asked_ = 0;
    state_ = State::kAbsent;
    Report(wasUp_ ? Kind::kEnded : Kind::kMade, why_);
    plan_ = {};
    if (next_) {
        step_ = loop_.After(Loop::Duration::zero(), [this] { BeginNext(); });
    }
}

// ---- What happens to it.

void AccessPoint::SupplicantHeard(const SupplicantEvent& event)
{
    using EventKind = SupplicantEvent::Kind;
    if (event.kind == EventKind::kUp) {
        IsUp();
    }
    if (state_ != State::kUp) {
        return;
    }
    switch (event.kind) {
        case EventKind::kStationJoined:
            Joined(event.station);
            break;
        case EventKind::kStationLeft:
            Left(event.station);
            break;
        case EventKind::kMoved:
            plan_.channel = ChannelOf(event.frequency);
            Report(Kind::kMoved, GroupOutcome::kDone);
            if (plan_.channel == goal_) {
                EndMove(GroupOutcome::kDone);
            }
            break;
        case EventKind::kDown:
        case EventKind::kEnding:
            down_ = loop_.After(kDownLimit, [this] { EndNow(GroupOutcome::kFailed); });
            break;
        case EventKind::kUp:
            down_.Cancel();  // for a moment only
            break;
        case EventKind::kOther:
            break;
    }
}

void AccessPoint::Joined(std::uint64_t station)
{
    if (!stations_.contains(station)) {
        arriving_.emplace(station, Loop::Clock::now() + access_.limits.address);
        LookForAddresses();
    }
}

void AccessPoint::Left(std::uint64_t station)
{
    arriving_.erase(station);
    const Leases leases = files_->GivenAddresses();
    if (const auto lease = leases.find(station); lease != leases.end()) {
        staleLeases_.insert_or_assign(station, lease->second);
    }
    if (stations_.erase(station) != 0) {
        Report(Kind::kStationLeft, GroupOutcome::kDone, {station, {}});
    }
}

/// Reports stations that have got their addresses, and those that have waited too long. One that
/// was here before may ask for another address; if it does not ask, it still has the one that it
/// had.
void AccessPoint::LookForAddresses()
{
    const Leases given = files_->GivenAddresses();
    const auto now = Loop::Clock::now();
    for (auto one = arriving_.begin(); one != arriving_.end();) {
        const std::uint64_t station = one->first;
        const auto lease = given.find(station);
        const auto stale = staleLeases_.find(station);
        const bool isStale =
            stale != staleLeases_.end() && lease != given.end() && stale->second == lease->second;
        const bool hasAddress = lease != given.end() && !isStale;
        if (hasAddress || one->second <= now) {
            stations_.insert(station);
            Report(Kind::kStationJoined, GroupOutcome::kDone,
                   {station, lease != given.end() ? lease->second.ipAddress : ""});
            one = arriving_.erase(one);
        } else {
            ++one;
        }
    }
    if (!arriving_.empty()) {
        addresses_ = loop_.After(kAddressesAgain, [this] { LookForAddresses(); });
    }
}

// ---- Moving it.

std::int32_t AccessPoint::Channel() const
{
    if (next_) {
        return next_->channel;
    }
    return state_ == State::kMaking || state_ == State::kUp ? plan_.channel : 0;
}

void AccessPoint::Move(std::uint64_t plan, std::int32_t channel, Moved done)
{
    if (state_ != State::kUp || plan_.id != plan) {
        done(GroupOutcome::kNoGroup);
        return;
    }
    EndMove(GroupOutcome::kFailed);  // the other channel is wanted now
    if (channel == plan_.channel) {
        done(GroupOutcome::kDone);
        return;
    }
    goal_ = channel;
    moved_ = std::move(done);
    moveLimit_ = loop_.After(access_.limits.move, [this] { EndMove(GroupOutcome::kFailed); });
    TryMove();
}

/// One request at a time: one that waits for the answer to another would be sent even if its move
/// has failed meanwhile.
void AccessPoint::TryMove()
{
    constexpr const char* kCommand = "CHAN_SWITCH 5 ";  // after as many beacons
    if (asked_ != 0) {
        return;
    }
    asked_ = goal_;
    control_->Send(kCommand + std::to_string(FrequencyOf(goal_)),
                   [this](const std::string& answer) { MoveAnswered(answer == "OK"); });
}

void AccessPoint::MoveAnswered(bool isAccepted)
{
    const bool isForGoal = std::exchange(asked_, 0) == goal_;
    if (goal_ != 0 && !isForGoal) {
        TryMove();
    } else if (goal_ != 0 && !isAccepted) {
        moveAgain_ = loop_.After(access_.limits.moveAgain, [this] { TryMove(); });
    }
}

void AccessPoint::EndMove(GroupOutcome outcome)
{
    moveAgain_.Cancel();
    moveLimit_.Cancel();
    if (std::exchange(goal_, 0) != 0) {
        std::exchange(moved_, nullptr)(outcome);
    }
}

void AccessPoint::Report(Kind kind, GroupOutcome outcome, const radio::Station& station)
{
    AccessPointEvent event;
    event.plan = plan_.id;
    event.kind = kind;
    event.outcome = outcome;
    event.interface = interfaceName_;
    event.index = InterfaceIndex();
    event.channel = plan_.channel;
    event.station = station;
    heard_(event);
}

}  // namespace pelacon::service::linux_radios::wifi
