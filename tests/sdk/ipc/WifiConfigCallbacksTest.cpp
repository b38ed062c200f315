#include <PelaconSDK/PelaconSvc.h>
#include <PelaconSDK/Vod2dApi.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <tests/sdk/Vod2dIds.h>
#include <tests/support/SdkTest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::int32_t kServiceStarted = 0xD700A0;
constexpr std::int32_t kRepair = 0xD700A1;
constexpr std::int32_t kWifiCfg = 0xD80087;
constexpr std::int32_t kConnNotify = 0xD80088;
constexpr std::int32_t kCardState = 0xD8008B;

constexpr std::chrono::seconds kLongest{5};

/// What was delivered, with the number of the table, as text.
std::vector<std::string>& Delivered()
{
    static auto& delivered = *new std::vector<std::string>;
    return delivered;
}

std::string Described(const Vod2dWifiCfgEvent& event)
{
    return std::to_string(event.type) + ' ' + std::to_string(event.length) + ' ' +
           std::string(event.blob, event.blob + std::min(event.length, 8));
}

std::string Described(const WifiCardStateEvent& event)
{
    std::string text = std::to_string(event.changed) + " of " + std::to_string(event.count) + ':';
    for (std::int32_t index = 0; index < event.count; ++index) {
        text += ' ' + std::to_string(event.cards[index].card) + '=' +
                std::to_string(event.cards[index].state);
    }
    return text;
}

template <int Number, typename Event>
void Tell(const Event* event)
{
    Delivered().push_back(std::to_string(Number) + ": " + Described(*event));
}

/// Called when the callback below begins, if a test sets it.
std::promise<void>* insideCallback = nullptr;

template <typename Event>
void CallAnOperation(const Event* /*event*/)
{
    insideCallback->set_value();
    Delivered().push_back("frequency " + std::to_string(Vod2dApi::Vod2dGetFrequency()));
}

ByteVector CfgPayload(std::int32_t type, const std::string& blob, std::int32_t length)
{
    return Bytes().I32(type).Text(blob, 512).I32(length);
}

ByteVector CardReply(std::int32_t count, std::int32_t status)
{
    return Bytes().Zeros(40).I32(count).I32(status);
}

/// One of the three lists.
struct List {
    const char* name;
    const char* member;
    const char* registration;
    const char* handler;
    std::int32_t requestId;
    ByteVector accepted;  ///< a reply that accepts
    ByteVector refused;   ///< one whose status is 4
    std::int32_t notification;
    ByteVector payload;
    std::string described;
    /// Makes a table whose slot is the Number-th of these and registers it: 0 an empty slot, 9 one
    /// that calls an operation.
    std::function<int(int number)> registerTable;
    std::function<int()> registerAgain;  ///< the one registered last
    std::function<void()> blankTables;
};

template <typename Table, typename Event>
class Tables {
  public:
    using Slot = void (*)(const Event*);
    using Registration = std::function<int(Table* table)>;

    int Make(int number, const Registration& registration)
    {
        static constexpr Slot kSlots[] = {nullptr, Tell<1, Event>, Tell<2, Event>, Tell<3, Event>};
        last_ = &Lasting<Table>({number == 9 ? CallAnOperation<Event> : kSlots[number]});
        slots_.push_back(reinterpret_cast<Slot*>(last_));
        return registration(last_);
    }

    int Again(const Registration& registration) { return registration(last_); }

    /// Empties the slots, as tables cannot be unregistered: those of earlier tests do nothing.
    void Blank()
    {
        for (Slot* slot : slots_) {
            *slot = nullptr;
        }
        slots_.clear();
    }

  private:
    Table* last_ = nullptr;
    std::vector<Slot*> slots_;
};

template <typename Table, typename Event>
List MadeBy(List list, std::function<int(Table* table)> registration)
{
    auto tables = std::make_shared<Tables<Table, Event>>();
    list.registerTable = [=](int number) { return tables->Make(number, registration); };
    list.registerAgain = [=] { return tables->Again(registration); };
    list.blankTables = [=] { tables->Blank(); };
    return list;
}

std::vector<List> Lists()
{
    const ByteVector cfg = CfgPayload(-3, "a blob", 6);
    return {
        MadeBy<Vod2dWifiCfgCallback, Vod2dWifiCfgEvent>(
            {"WifiCfg",
             "Vod2dApi::Vod2dRegisterWifiCfgCallback",
             "IPCMessageSender::RegisterWifiCfgCallback",
             "IPCMessageSender::WifiCfgCallback",
             kRegisterCfg,
             Bytes().I32(0),
             Bytes().I32(4),
             kWifiCfg,
             cfg,
             "-3 6 a blob",
             {},
             {},
             {}},
            Vod2dApi::Vod2dRegisterWifiCfgCallback),
        MadeBy<Vod2dWifiCfgCallback, Vod2dWifiCfgEvent>(
            {"ConnNotify",
             "Vod2dApi::Vod2dSetConnNotify",
             "IPCMessageSender::RegisterConnNotifyCallback",
             "IPCMessageSender::ConnNotifyCallback",
             kSetConnNotify,
             Bytes().I32(0),
             Bytes().I32(4),
             kConnNotify,
             cfg,
             "-3 6 a blob",
             {},
             {},
             {}},
            [](Vod2dWifiCfgCallback* table) {
                Vod2dConnNotifyRequest request{};
                return Vod2dApi::Vod2dSetConnNotify(&request, table);
            }),
        MadeBy<WifiCardStateCallback, WifiCardStateEvent>(
            {"CardState",
             "Vod2dApi::Vod2dSetWifiCardStateNotify",
             "IPCMessageSender::RegisterWifiCardStateCallback",
             "IPCMessageSender::WifiCardStateChangeCallback",
             kSetCardState,
             CardReply(1, 0),
             CardReply(1, 4),
             kCardState,
             Bytes().I32(7).I32(1).I32(8).I32(2).Zeros(24).I32(1).I32(2),
             "1 of 2: 7=1 8=2",
             {},
             {},
             {}},
            [](WifiCardStateCallback* table) {
                WifiCardStateInfo info{};
                std::int32_t count = 0;
                return Vod2dApi::Vod2dSetWifiCardStateNotify(&info, &count, table);
            }),
    };
}

void PrintTo(const List& list, std::ostream* out)
{
    *out << list.name;
}

class WifiConfigLists : public SdkTest, public ::testing::WithParamInterface<List> {
  protected:
    void SetUp() override
    {
        SdkTest::SetUp();
        channel.Reply(list.requestId, list.accepted);
        Delivered().clear();
    }

    void TearDown() override
    {
        list.blankTables();
        SdkTest::TearDown();
    }

    void Register(int number)
    {
        EXPECT_EQ(list.registerTable(number), 0);
        ForgetWhatHappened();
    }

    void Notify() { channel.Deliver(list.notification, list.payload); }

    const List& list = GetParam();
};

TEST_P(WifiConfigLists, DeliverInOrderOfRegistration)
{
    Register(2);
    Register(1);
    Register(3);
    Notify();
    EXPECT_THAT(Delivered(), ElementsAre("2: " + list.described, "1: " + list.described,
                                         "3: " + list.described));
}

TEST_P(WifiConfigLists, LogAndSkipEmptySlots)
{
    Register(1);
    Register(0);
    Notify();
    std::vector<LogLine> lines = LogLines::All();
    if (list.notification == kCardState) {
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.front(), Line(4, "WifiCardStateChangeCb enter", "WifiCardStateChangeCb"));
        lines.erase(lines.begin());
    }
    EXPECT_THAT(lines, ElementsAre(Start(list.handler), Line(1, "call callback", list.handler),
                                   End(list.handler)));
}

TEST_P(WifiConfigLists, KeepATableOnce)
{
    Register(1);
    EXPECT_EQ(list.registerAgain(), 0);
    EXPECT_THAT(LogLines::All(), ElementsAre(Start(list.member),
                                             Line(1, "callback already exist", list.registration),
                                             End(list.member)));
    Notify();
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_P(WifiConfigLists, KeepATableOnlyIfTheServiceAccepted)
{
    channel.Reply(list.requestId, list.refused);
    EXPECT_EQ(list.registerTable(1), 4);
    channel.ReplyNothing(list.requestId);
    EXPECT_EQ(list.registerTable(2), -12);
    Notify();
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_P(WifiConfigLists, DoNotMixTheirNotifications)
{
    Register(1);
    for (const std::int32_t id : {kWifiCfg, kConnNotify, kCardState}) {
        if (id != list.notification) {
            channel.Deliver(id, ByteVector(520));
        }
    }
    channel.DeliverWithoutPayload(list.notification);
    EXPECT_THAT(Delivered(), IsEmpty());
}

TEST_P(WifiConfigLists, SurviveStopAndStart)
{
    Register(1);
    PelaconSvcStop();
    ASSERT_EQ(PelaconSvcStart(), 0);
    Notify();
    EXPECT_EQ(Delivered().size(), 1U);
}

TEST_P(WifiConfigLists, ACallbackMayCallOperationsWhileAnotherThreadRegisters)
{
    // The callback holds the list's lock and takes the operations' lock; the registration holds the
    // operations' lock and takes the list's.
    channel.Reply(kFrequency, Bytes().I32(5180));
    Register(9);
    std::promise<void> inside;
    insideCallback = &inside;
    std::promise<void> registering;
    channel.OnRequest(list.requestId, [&](const Sent&) {
        registering.set_value();
        EXPECT_EQ(inside.get_future().wait_for(kLongest), std::future_status::ready);
    });
    auto registration = std::async(std::launch::async, [&] { return list.registerTable(1); });
    ASSERT_EQ(registering.get_future().wait_for(kLongest), std::future_status::ready);
    auto delivery = std::async(std::launch::async, [&] { Notify(); });
    if (delivery.wait_for(kLongest) != std::future_status::ready ||
        registration.wait_for(kLongest) != std::future_status::ready) {
        ADD_FAILURE() << "the two wait for each other";
        std::abort();  // the deadlocked threads cannot be ended
    }
    EXPECT_EQ(registration.get(), 0);
    ASSERT_FALSE(Delivered().empty());
    EXPECT_EQ(Delivered().front(), "frequency 5180");
}

INSTANTIATE_TEST_SUITE_P(The, WifiConfigLists, ::testing::ValuesIn(Lists()),
                         [](const auto& row) { return row.param.name; });

// ---- What is delivered

class WifiConfigEvents : public WifiConfigLists {};

TEST_P(WifiConfigEvents, LengthsAreLimitedToTheirFields)
{
    Register(1);
    const std::string whole(512, 'x');
    for (const auto& [length, delivered] :
         {std::pair(512, 512), {513, 512}, {2147483647, 512}, {-1, 0}}) {
        Delivered().clear();
        channel.Deliver(list.notification, CfgPayload(5, whole, length));
        EXPECT_THAT(
            Delivered(),
            ElementsAre("1: 5 " + std::to_string(delivered) + ' ' +
                        std::string(static_cast<std::size_t>(std::min(delivered, 8)), 'x')));
    }
}

INSTANTIATE_TEST_SUITE_P(Of, WifiConfigEvents,
                         ::testing::ValuesIn(std::vector<List>{Lists()[0], Lists()[1]}),
                         [](const auto& row) { return row.param.name; });

class CardStateEvents : public WifiConfigLists {};

TEST_P(CardStateEvents, CountsAreLimitedToTheirFields)
{
    Register(1);
    const auto deliver = [&](std::int32_t changed, std::int32_t count) {
        Delivered().clear();
        channel.Deliver(kCardState, Bytes().Zeros(40).I32(changed).I32(count));
        return Delivered().front();
    };
    EXPECT_EQ(deliver(4, 5), "1: 4 of 5: 0=0 0=0 0=0 0=0 0=0");
    EXPECT_EQ(deliver(5, 6), "1: 4 of 5: 0=0 0=0 0=0 0=0 0=0");
    EXPECT_EQ(deliver(-1, -1), "1: 0 of 0:");
}

TEST_P(CardStateEvents, ReachATableWhoseRegistrationFailedToCopy)
{
    channel.Reply(kSetCardState, CardReply(2, 0));
    EXPECT_EQ(list.registerTable(1), -16);
    Notify();
    EXPECT_EQ(Delivered().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Of, CardStateEvents, ::testing::ValuesIn(std::vector<List>{Lists()[2]}),
                         [](const auto& row) { return row.param.name; });

// ---- Registrations after a restart of the service

TEST_F(SdkTest, TheLastAcceptedRegistrationIsRepeatedAfterARestart)
{
    channel.Reply(kRegisterCfg, Bytes().I32(0));
    channel.Reply(kSetConnNotify, Bytes().I32(0));
    channel.Reply(kSetCardState, CardReply(1, 0));
    auto& cfg = Lasting<Vod2dWifiCfgCallback>();
    auto& cards = Lasting<WifiCardStateCallback>();
    std::int32_t count = 0;
    for (const std::int32_t number : {1, 2}) {
        Vod2dConnNotifyRequest request{number, "aabbccddeeff", {9}};
        WifiCardStateInfo info{number, 5};
        EXPECT_EQ(Vod2dApi::Vod2dSetConnNotify(&request, &cfg), 0);
        EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&info, &count, &cards), 0);
    }
    EXPECT_EQ(Vod2dApi::Vod2dRegisterWifiCfgCallback(&cfg), 0);
    // A later one that is refused does not count.
    channel.Reply(kSetConnNotify, Bytes().I32(4));
    channel.Reply(kSetCardState, CardReply(1, 4));
    Vod2dConnNotifyRequest refused{3, "", {}};
    WifiCardStateInfo refusedCard{3, 5};
    EXPECT_EQ(Vod2dApi::Vod2dSetConnNotify(&refused, &cfg), 4);
    EXPECT_EQ(Vod2dApi::Vod2dSetWifiCardStateNotify(&refusedCard, &count, &cards), 4);

    ForgetWhatHappened();
    channel.DeliverWithoutPayload(kServiceStarted);
    const std::vector<Sent> requests = channel.Requests();
    const auto position = [&](std::int32_t id) {
        return std::find_if(requests.begin(), requests.end(),
                            [id](const Sent& sent) { return sent.item.msgId == id; });
    };
    ASSERT_NE(position(kSetConnNotify), requests.end());
    ASSERT_NE(position(kRegisterCfg), requests.end());
    ASSERT_NE(position(kSetCardState), requests.end());
    EXPECT_LT(position(kRepair), position(kSetConnNotify));
    EXPECT_LT(position(kSetConnNotify), position(kRegisterCfg));
    EXPECT_LT(position(kRegisterCfg), position(kSetCardState));
    EXPECT_THAT(
        *position(kSetConnNotify),
        RequestIs(kSetConnNotify, Bytes().I32(2).Text("aabbccddeeff", 13).U8(9).Zeros(14), 5000));
    EXPECT_THAT(*position(kRegisterCfg), RequestIs(kRegisterCfg, {}, 5000));
    EXPECT_THAT(*position(kSetCardState), RequestIs(kSetCardState, Bytes().I32(2).I32(5), 5000));
}

}  // namespace

}  // namespace pelacon::test
