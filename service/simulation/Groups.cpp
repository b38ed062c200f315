#include <service/simulation/Groups.h>

#include <algorithm>

namespace pelacon::service::simulation {

using radio::GroupOutcome;
using radio::Station;

namespace {

/// What a refusal of the stack means for groups.
GroupOutcome GroupOutcomeOf(radio::Outcome outcome)
{
    switch (outcome) {
        case radio::Outcome::kDone:
            return GroupOutcome::kDone;
        case radio::Outcome::kNoAdapter:
        case radio::Outcome::kOff:
        case radio::Outcome::kBlocked:
            return GroupOutcome::kWifiOff;
        case radio::Outcome::kNotPermitted:
            return GroupOutcome::kNotPermitted;
        case radio::Outcome::kLimitReached:
            return GroupOutcome::kBusy;
        case radio::Outcome::kFailed:
            break;
    }
    return GroupOutcome::kFailed;
}

}  // namespace

Groups::Groups(Scheduler& scheduler, Stack& stack, Wifi& wifi, const GroupConfig& config,
               const WifiCardsConfig& cards)
    : scheduler_(scheduler), stack_(stack), wifi_(wifi), config_(config)
{
    if (!cards.interfaces.empty()) {
        interface_ = cards.interfaces.back();
    }
    wifi_.ObserveSwitch([this](bool on) { OnWifiSwitched(on); });
}

radio::Group Groups::Describe() const
{
    return {config_.ssid, config_.passPhrase, config_.address, config_.ipAddress, channel_};
}

CreationConfig Groups::NextCreation()
{
    const std::size_t number = creations_++;
    CreationConfig creation =
        number < config_.firstCreations.size() ? config_.firstCreations[number] : config_.creation;
    const StackBehaviour behaviour = stack_.Next(StackOperation::kCreateGroup);
    creation.delay += behaviour.delay;
    if (behaviour.outcome != radio::Outcome::kDone) {
        creation.outcome = GroupOutcomeOf(behaviour.outcome);
    }
    return creation;
}

void Groups::Create(std::int32_t channel, Done done)
{
    if (!wifi_.IsOn()) {
        done(GroupOutcome::kWifiOff);
    } else if (Exists() || IsCreating()) {
        done(GroupOutcome::kBusy);
    } else {
        created_ = std::move(done);
        TakeNewName();
        const CreationConfig creation = NextCreation();
        creating_ = scheduler_.After(
            creation.delay, [this, creation, channel] { EndCreation(creation.outcome, channel); });
    }
}

void Groups::EndCreation(GroupOutcome outcome, std::int32_t channel)
{
    creating_.Cancel();
    if (outcome == GroupOutcome::kDone) {
        channel_ = channel;
        AwaitStations();
    }
    groupObservers_(Exists(), outcome);
    std::exchange(created_, nullptr)(outcome);
}

void Groups::Remove(Done done)
{
    if (IsCreating()) {
        EndCreation(GroupOutcome::kAborted, 0);
        done(GroupOutcome::kDone);
    } else if (!Exists()) {
        done(GroupOutcome::kNoGroup);
    } else {
        removed_.push_back(std::move(done));
        if (!removing_.IsPending()) {
            removing_ =
                scheduler_.After(config_.removeDelay, [this] { EndGroup(GroupOutcome::kDone); });
        }
    }
}

void Groups::EndGroup(GroupOutcome reason)
{
    removing_.Cancel();
    comings_.clear();
    const std::list<Moving> moves = std::exchange(moves_, {});
    while (!stations_.empty()) {
        Leave(stations_.back().address);
    }
    channel_ = 0;
    TakeNewName();
    groupObservers_(Exists(), reason);
    for (const Moving& move : moves) {
        move.done(GroupOutcome::kNoGroup);
    }
    for (const Done& done : std::exchange(removed_, {})) {
        done(GroupOutcome::kDone);
    }
}

void Groups::Rename(std::string ssid, std::string passPhrase)
{
    newName_ = {std::move(ssid), std::move(passPhrase)};
    if (!Exists() && !IsCreating()) {
        TakeNewName();
    }
}

void Groups::TakeNewName()
{
    if (newName_) {
        config_.ssid = std::move(newName_->ssid);
        config_.passPhrase = std::move(newName_->passPhrase);
        newName_.reset();
    }
}

void Groups::Move(std::int32_t channel, Done done)
{
    if (!Exists()) {
        done(GroupOutcome::kNoGroup);
        return;
    }
    const StackBehaviour behaviour = stack_.Next(StackOperation::kMoveGroup);
    const auto move = moves_.insert(moves_.end(), {Timer(), std::move(done)});
    const GroupOutcome outcome = GroupOutcomeOf(behaviour.outcome);
    if (behaviour.delay.count() == 0) {
        EndMove(move, channel, outcome);
    } else {
        move->timer = scheduler_.After(
            behaviour.delay, [this, move, channel, outcome] { EndMove(move, channel, outcome); });
    }
}

void Groups::EndMove(std::list<Moving>::iterator move, std::int32_t channel, GroupOutcome outcome)
{
    const Done done = std::move(move->done);
    moves_.erase(move);
    if (outcome == GroupOutcome::kDone && std::exchange(channel_, channel) != channel) {
        groupObservers_(Exists(), GroupOutcome::kDone);
    }
    done(outcome);
}

void Groups::OnWifiSwitched(bool on)
{
    if (on) {
        return;
    }
    if (IsCreating()) {
        EndCreation(GroupOutcome::kWifiOff, 0);
    } else if (Exists()) {
        EndGroup(GroupOutcome::kWifiOff);
    }
}

void Groups::AwaitStations()
{
    for (const StationConfig& station : config_.stations) {
        comings_.push_back(scheduler_.After(
            station.joinAfter, [this, station] { Join(station.address, station.ipAddress); }));
        if (station.stay) {
            comings_.push_back(scheduler_.After(station.joinAfter + *station.stay,
                                                [this, station] { Leave(station.address); }));
        }
    }
}

bool Groups::Join(std::uint64_t station, std::optional<std::string> ipAddress)
{
    const auto isIt = [station](const Station& one) { return one.address == station; };
    if (!Exists() || std::ranges::any_of(stations_, isIt)) {
        return false;
    }
    stations_.push_back({station, ipAddress ? *std::move(ipAddress) : FreeIpAddress()});
    stationObservers_(stations_.back(), true);
    return true;
}

bool Groups::Leave(std::uint64_t station)
{
    const auto found = std::ranges::find(stations_, station, &Station::address);
    if (found == stations_.end()) {
        return false;
    }
    const Station left{station, {}};
    stations_.erase(found);
    stationObservers_(left, false);
    return true;
}

/// The lowest free address after the owner's in its network of 255 addresses.
std::string Groups::FreeIpAddress() const
{
    const std::string network = config_.ipAddress.substr(0, config_.ipAddress.rfind('.') + 1);
    for (int host = 2; host < 255; ++host) {
        std::string address = network + std::to_string(host);
        if (address != config_.ipAddress &&
            !std::ranges::count(stations_, address, &Station::ipAddress)) {
            return address;
        }
    }
    return {};
}

}  // namespace pelacon::service::simulation
