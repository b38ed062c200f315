// What the service makes of radios other than the simulated ones.
#include <protocol/BleAdvertiser.h>
#include <protocol/BleManager.h>
#include <protocol/ServiceStatus.h>
#include <protocol/SoftAp.h>
#include <protocol/Vod2dConfig.h>
#include <protocol/Vod2dGroup.h>
#include <protocol/WifiChannels.h>
#include <protocol/WifiState.h>
#include <service/families/RadioWait.h>
#include <tests/service/OtherRadios.h>
#include <tests/service/ServiceFixture.h>

#include <gmock/gmock.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::tests {
namespace {

using namespace std::chrono_literals;
using protocol::kStatusDone;

class OtherRadiosTest : public ServiceTest {};

// ---- More, or less, than records have room for

class Cards : public radio::WifiCards {
  public:
    const std::vector<radio::CardState>& States() const override { return states; }
    const std::vector<radio::WifiInterface>& Interfaces() const override { return interfaces; }
    const std::string& Coexistence() const override { return coexistence; }
    void Set(std::size_t card, radio::CardState state)
    {
        states.at(card) = state;
        cardObservers_(card);
    }

    std::vector<radio::CardState> states;
    std::vector<radio::WifiInterface> interfaces;
    std::string coexistence;
};

class Wifi : public radio::Wifi {
  public:
    bool IsOn() const override { return false; }
    void Switch(bool /*on*/, radio::OutcomeDone done) override { done(outcome); }
    std::uint64_t Address() const override { return 0x010203040506; }
    const std::vector<Channel>& Channels() const override { return channels; }
    std::optional<Connection> CurrentConnection() const override { return std::nullopt; }

    radio::Outcome outcome = radio::Outcome::kFailed;
    std::vector<Channel> channels;
};

class WifiRadios : public OtherRadios {
  public:
    using OtherRadios::OtherRadios;
    radio::Wifi& GetWifi() override { return wifi; }
    radio::WifiCards& GetWifiCards() override { return cards; }

    Wifi wifi;
    Cards cards;
    Timer change;
};

/// Has the service use these radios, after the test has prepared them.
template <typename Prepare>
radio::Factory WifiRadiosThat(Prepare prepare)
{
    return [prepare](Scheduler& scheduler, const std::string& /*stateFile*/) {
        auto radios = std::make_unique<WifiRadios>(scheduler);
        prepare(*radios, scheduler);
        return radios;
    };
}

TEST_F(OtherRadiosTest, AMachineWithoutCardsHasNoWifiAdapter)
{
    StartService(WifiRadiosThat([](WifiRadios&, Scheduler&) {}));
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, 2);
    const auto cards = client.Call(protocol::kSetWifiCardStateNotify, {-1, 0});
    EXPECT_EQ(cards->count, 0);
    EXPECT_EQ(cards->status, protocol::kStatusNotFound);
}

TEST_F(OtherRadiosTest, ASwitchThatIsRefusedHasFailed)
{
    for (const auto& [outcome, result] :
         std::vector<std::pair<radio::Outcome, std::int32_t>>{{radio::Outcome::kDone, 0},
                                                              {radio::Outcome::kNoAdapter, 2},
                                                              {radio::Outcome::kNotPermitted, 1},
                                                              {radio::Outcome::kBlocked, 1},
                                                              {radio::Outcome::kFailed, 1}}) {
        EndService();
        StartService(WifiRadiosThat([why = outcome](WifiRadios& radios, Scheduler&) {
            radios.wifi.outcome = why;
            radios.cards.states = {radio::CardState::kOff};
        }));
        TestClient client(PipeName());
        EXPECT_EQ(client.Call(protocol::kEnableWifi, {1})->value, result);
    }
}

TEST_F(OtherRadiosTest, ProgramsSeeTheFirstFiveCards)
{
    StartService(WifiRadiosThat([](WifiRadios& radios, Scheduler& scheduler) {
        radios.cards.states = std::vector(7, radio::CardState::kOff);
        radios.change = scheduler.Every(5ms, [&cards = radios.cards] {
            cards.Set(6, radio::CardState::kOn);
            cards.Set(4, radio::CardState::kOn);
        });
    }));
    TestClient client(PipeName());
    const auto cards = client.Call(protocol::kSetWifiCardStateNotify, {-1, 0});
    EXPECT_EQ(cards->count, 5);
    const auto event = client.Next(protocol::kWifiCardStateChange);
    EXPECT_EQ(event.count, 5);
    EXPECT_EQ(event.changed, 4) << "nothing of the seventh card";
}

TEST_F(OtherRadiosTest, ProgramsReadAsMuchTextAsThereIsRoomFor)
{
    StartService(WifiRadiosThat(
        [](WifiRadios& radios, Scheduler&) { radios.cards.coexistence = std::string(300, 'x'); }));
    TestClient client(PipeName());
    const auto reply = client.Call(protocol::kGetIfaceCoexistCap);
    EXPECT_EQ(reply->length, 256);
    EXPECT_EQ(TextIn(reply->capability), std::string(256, 'x'));
}

TEST_F(OtherRadiosTest, AnAdapterWithoutChannelsIsDescribed)
{
    StartService(WifiRadiosThat([](WifiRadios&, Scheduler&) {}));
    TestClient client(PipeName());
    const auto reply = client.Call(protocol::kGetSelfWifiCfgInfo, {kSelfCfgStation});
    EXPECT_EQ(std::string(reply->blob, reply->blob + reply->length),
              "role=station;address=010203040506;channels=");
}

// ---- Groups

/// Exists on channel 36, and changes only when a member is called.
class AccessPoint : public radio::Groups {
  public:
    bool Exists() const override { return true; }
    bool IsCreating() const override { return false; }
    radio::Group Describe() const override { return {"name", "password", 0, "10.0.0.1", channel}; }
    const std::vector<radio::Station>& Stations() const override { return stations; }
    std::optional<radio::WifiInterface> NetworkInterface() const override { return interface; }
    void Create(std::int32_t /*channel*/, Done done) override { done(outcome); }
    void Remove(Done done) override { done(outcome); }
    void Rename(std::string /*ssid*/, std::string /*passPhrase*/) override {}
    void Move(std::int32_t to, Done done) override
    {
        moving = scheduler->After(20ms, [this, to, done = std::move(done)] {
            channel = outcome == radio::GroupOutcome::kDone ? to : channel;
            done(outcome);
        });
    }

    Scheduler* scheduler = nullptr;
    radio::GroupOutcome outcome = radio::GroupOutcome::kDone;
    std::optional<radio::WifiInterface> interface;
    std::int32_t channel = 36;
    std::vector<radio::Station> stations;
    Timer moving;
};

class ApRadios : public OtherRadios {
  public:
    explicit ApRadios(Scheduler& scheduler) : OtherRadios(scheduler) { ap.scheduler = &scheduler; }
    radio::Groups& GetGroups() override { return ap; }
    radio::Groups& GetSoftAp() override { return ap; }

    AccessPoint ap;
};

TEST_F(OtherRadiosTest, AMissingPermissionForGroupsIsReported)
{
    StartService([](Scheduler& scheduler, const std::string& /*stateFile*/) {
        auto radios = std::make_unique<ApRadios>(scheduler);
        radios->ap.outcome = radio::GroupOutcome::kNotPermitted;
        return radios;
    });
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kCreateGroup, {})->status, protocol::kStatusNotPermitted);
    EXPECT_EQ(client.Call(protocol::kRemoveGroup)->status, protocol::kStatusNotPermitted);
    EXPECT_EQ(client.Call(protocol::kSystemCreateSoftAP, {})->errorCode,
              protocol::kStatusNotPermitted);
}

TEST_F(OtherRadiosTest, AMoveIsAnsweredWithTheChannelThatItLedTo)
{
    for (const auto outcome : {radio::GroupOutcome::kDone, radio::GroupOutcome::kFailed}) {
        EndService();
        StartService([outcome](Scheduler& scheduler, const std::string& /*stateFile*/) {
            auto radios = std::make_unique<ApRadios>(scheduler);
            radios->ap.outcome = outcome;
            return radios;
        });
        TestClient client(PipeName());
        const std::int32_t wanted = client.Call(protocol::kRepickChannelWithoutEffect, {0})->value;
        ASSERT_NE(wanted, 36);
        const bool moves = outcome == radio::GroupOutcome::kDone;
        EXPECT_EQ(client.Call(protocol::kSetAPFrequence, {0})->value, moves ? wanted : 36);
        EXPECT_EQ(client.Call(protocol::kGetSoftAPChannel)->value, moves ? wanted : 36);
    }
}

TEST_F(OtherRadiosTest, TheSoftApHasAnInterfaceOrNone)
{
    StartService([](Scheduler& scheduler, const std::string& /*stateFile*/) {
        return std::make_unique<ApRadios>(scheduler);
    });
    {
        TestClient client(PipeName());
        EXPECT_EQ(client.Call(protocol::kGetAdapterIndex)->value, 0);
        EXPECT_EQ(client.Call(protocol::kGetAdapterGuid), "");
    }
    EndService();
    StartService([](Scheduler& scheduler, const std::string& /*stateFile*/) {
        auto radios = std::make_unique<ApRadios>(scheduler);
        radios->ap.interface = radio::WifiInterface{"ap0", "{guid}", 7};
        return radios;
    });
    TestClient client(PipeName());
    EXPECT_EQ(client.Call(protocol::kGetAdapterIndex)->value, 7);
    EXPECT_EQ(client.Call(protocol::kGetAdapterGuid), "{guid}");
}

// ---- Radios that take time

TEST_F(OtherRadiosTest, OnlyTheStackOfSimulatedRadiosCanBeChanged)
{
    using Parts = simulation::Simulation::Parts;
    class SomeRadios : public simulation::Simulation {
      public:
        SomeRadios(Scheduler& scheduler, Parts parts)
            : Simulation(scheduler, simulation::WorldFile{}), parts_(parts)
        {}
        void AddCommands(Commands& commands) override { AddCommandsOf(commands, parts_); }

      private:
        Parts parts_;
    };
    const auto isDone = [this](const char* operation) {
        const nlohmann::json command{{"command", "stack.set"}, {"operation", operation}};
        return CommandText(command.dump())["ok"].get<bool>();
    };
    const auto start = [this](Parts parts) {
        EndService();
        StartService([parts](Scheduler& scheduler, const std::string& /*stateFile*/) {
            return std::make_unique<SomeRadios>(scheduler, parts);
        });
    };
    start({.bluetooth = false});
    EXPECT_FALSE(isDone("scan"));
    EXPECT_TRUE(isDone("moveGroup"));
    start({.wifi = false});
    EXPECT_TRUE(isDone("scan"));
    EXPECT_FALSE(isDone("moveGroup"));
    start({});
    EXPECT_TRUE(isDone("scan"));
    EXPECT_TRUE(isDone("moveGroup"));
}

TEST_F(OtherRadiosTest, TheServiceStartsWhenTheRadiosKnowTheMachine)
{
    class SlowRadios : public OtherRadios {
      public:
        SlowRadios(Scheduler& scheduler, bool& isKnown)
            : OtherRadios(scheduler), isKnown_(isKnown), look_(scheduler.After(30ms, [&] {
                  isKnown_ = true;
                  scheduler.Wake();
              }))
        {}
        bool IsKnown() const override { return isKnown_; }

      private:
        bool& isKnown_;
        Timer look_;
    };
    bool isKnown = false;
    StartService([&](Scheduler& scheduler, const std::string& /*stateFile*/) {
        return std::make_unique<SlowRadios>(scheduler, isKnown);
    });
    EXPECT_TRUE(isKnown);
}

// ---- What they get

TEST_F(OtherRadiosTest, TheRadioGetsBothIntervalsAndTheChannels)
{
    struct Recorder : radio::Advertiser {
        std::unique_ptr<radio::Advertisement> Start(const radio::Advertising& advertising,
                                                    radio::AdvertisementObserver& observer) override
        {
            wanted.push_back(advertising);
            observer.Started();
            return std::make_unique<radio::Advertisement>();
        }
        std::vector<radio::Advertising> wanted;
    };
    class RecordingRadios : public OtherRadios {
      public:
        RecordingRadios(Scheduler& scheduler, Recorder& recorder)
            : OtherRadios(scheduler), recorder_(recorder)
        {}
        radio::Advertiser& GetAdvertiser() override { return recorder_; }

      private:
        Recorder& recorder_;
    };
    Recorder recorder;
    StartService([&](Scheduler& scheduler, const std::string& /*stateFile*/) {
        return std::make_unique<RecordingRadios>(scheduler, recorder);
    });
    TestClient client(PipeName());
    protocol::StartAdvertiseRequest request{};
    request.advertiserId = client.Call(protocol::kRegisterAdvertiser)->value;
    EXPECT_EQ(client.Call(protocol::kStartAdvertise, request)->status, kStatusDone);
    request.params.minInterval = 30;
    EXPECT_EQ(client.Call(protocol::kStartAdvertise, request)->status, kStatusDone);
    request.params.maxInterval = 50;
    request.params.channelMap = 0b100;
    EXPECT_EQ(client.Call(protocol::kStartAdvertise, request)->status, kStatusDone);
    EndService();
    ASSERT_EQ(recorder.wanted.size(), 3U);
    EXPECT_EQ(recorder.wanted[0].shortestInterval, 100ms);
    EXPECT_EQ(recorder.wanted[0].longestInterval, 100ms);
    EXPECT_EQ(recorder.wanted[0].channels, 0b111);
    EXPECT_EQ(recorder.wanted[1].shortestInterval, 30ms);
    EXPECT_EQ(recorder.wanted[1].longestInterval, 30ms);
    EXPECT_EQ(recorder.wanted[2].longestInterval, 50ms);
    EXPECT_EQ(recorder.wanted[2].channels, 0b100);
}

// ---- Waiting for them

TEST(AttemptTest, EndsWhenItsTimeIsUp)
{
    Scheduler scheduler(1);
    std::optional<Attempt> attempt;
    std::optional<Completion<std::int32_t>> status;
    {
        const Scheduler::Guard lock = scheduler.Lock();
        attempt.emplace(scheduler);
        status = attempt->Status();
        attempt->GiveUpAfter(1ms, [&] { attempt.reset(); });
        EXPECT_TRUE(scheduler.Wait(kPatience, [&] { return !attempt.has_value(); }));
        EXPECT_EQ(status->Get(), protocol::kStatusPeerUnreachable);
    }
}

TEST(AttemptTest, EndsOnce)
{
    Scheduler scheduler(1);
    const Scheduler::Guard lock = scheduler.Lock();
    std::optional<Attempt> attempt(std::in_place, scheduler);
    const Completion<std::int32_t> status = attempt->Status();
    EXPECT_TRUE(attempt->IsUnderWay());
    attempt->End(protocol::kStatusRadioOff);
    EXPECT_FALSE(attempt->IsUnderWay());
    attempt->GiveUpAfter(0ms, [] { ADD_FAILURE() << "it has ended"; });
    attempt.reset();
    EXPECT_EQ(status.Get(), protocol::kStatusRadioOff);
}

TEST(AttemptTest, IsInterruptedByItsDestruction)
{
    Scheduler scheduler(1);
    const Scheduler::Guard lock = scheduler.Lock();
    std::optional<Attempt> attempt(std::in_place, scheduler);
    const Completion<std::int32_t> status = attempt->Status();
    attempt.reset();
    EXPECT_EQ(status.Get(), protocol::kStatusInterrupted);
}

}  // namespace
}  // namespace pelacon::service::tests
