#include <service/linux/dbus/Bus.h>
#include <service/linux/dbus/Names.h>
#include <service/linux/dbus/ObjectTree.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/service/linux/PrivateBus.h>

#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <optional>

namespace pelacon::service::linux_radios::tests {

namespace {

using namespace dbus;
using std::chrono::milliseconds;
using testing::ElementsAre;

constexpr const char* kInterface = "test.Echo";

class ABus : public LoopTest {
  protected:
    ABus()
    {
        server = Do([this] { return Open(); });
        client = Do([this] { return Open(); });
        Do([this] {
            Waited(client->Call({dbus::kBus, dbus::kBusPath, dbus::kBus, "GetId"}, {}, Store()));
        });
        EXPECT_TRUE(Eventually([this] { return reply.has_value(); }));
    }
    ~ABus() override
    {
        Do([this] {
            slots.clear();
            tree.reset();
            client.reset();
            server.reset();
        });
    }

    std::unique_ptr<Bus> Open()
    {
        return std::make_unique<Bus>(loop, [this] { ++lost; });
    }

    Bus::OnReply Store()
    {
        reply.reset();
        return [this](const Reply& answer) { reply = answer; };
    }
    void Waited(Bus::Slot slot) { slots.push_back(std::move(slot)); }

    /// Serves an object whose method "Echo" is answered by the handler, and learns its bus name.
    void ServeEcho(ObjectTree::Handler handler)
    {
        Do([&] {
            tree = std::make_unique<ObjectTree>(*server, "/test");
            tree->Add("/test/one", kInterface,
                      {{{"Size", std::uint16_t{5}}, {"Name", "one"}}, {{"Echo", handler}}});
            // The client finds the server by this name.
            Waited(server->Call({dbus::kBus, dbus::kBusPath, dbus::kBus, "RequestName"},
                                {"test.Server", std::uint32_t{0}}, Store()));
        });
        EXPECT_TRUE(Eventually([this] { return reply.has_value(); }));
    }

    Reply Ask(const char* path, const char* interface, const char* method,
              const Arguments& arguments, milliseconds limit = kPatience)
    {
        Do([&] {
            Waited(
                client->Call({"test.Server", path, interface, method}, arguments, Store(), limit));
        });
        EXPECT_TRUE(Eventually([this] { return reply.has_value(); }));
        return Do([this] { return reply.value_or(Reply()); });
    }

    PrivateBus bus;
    std::unique_ptr<Bus> server;
    std::unique_ptr<Bus> client;
    std::unique_ptr<ObjectTree> tree;
    std::vector<Bus::Slot> slots;
    std::optional<Reply> reply;
    int lost = 0;
};

TEST_F(ABus, CarriesValuesOfAllTypesBothWays)
{
    ServeEcho(
        [](const Incoming& call, Invocation invocation) { invocation.Return(call.arguments); });
    const Arguments sent{
        true,
        std::uint8_t{200},
        std::int16_t{-300},
        std::uint16_t{60000},
        std::int32_t{-70000},
        std::uint32_t{4000000000},
        std::int64_t{-5000000000},
        std::uint64_t{18000000000000000000U},
        2.5,
        "t\xC3\xA4xt",
        ObjectPath{"/a/b"},
        Bytes{0, 1, 255},
        Bytes{},
        MakeTexts({"x", ""}),
        MakeTexts({}),
        Structure{{std::int32_t{1}, "in"}},
        InVariant(InVariant(std::uint8_t{7})),
        MakeProperties({{"Data", Bytes{9}}, {"Texts", MakeTexts({"t"})}}),
        MakeInterfaces({{"i.f", {{"On", true}}}}),
    };
    const Reply answer = Ask("/test/one", kInterface, "Echo", sent);
    ASSERT_FALSE(answer.IsError()) << answer.error->message;
    const Arguments& got = answer.arguments;
    ASSERT_EQ(got.size(), sent.size());
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(got[i].Signature(), sent[i].Signature());
    }
    EXPECT_EQ(got[0].Or(false), true);
    EXPECT_EQ(got[1].Or(std::uint8_t{0}), 200);
    EXPECT_EQ(got[2].Or(std::int16_t{0}), -300);
    EXPECT_EQ(got[3].Or(std::uint16_t{0}), 60000);
    EXPECT_EQ(got[4].Or(std::int32_t{0}), -70000);
    EXPECT_EQ(got[5].Or(std::uint32_t{0}), 4000000000U);
    EXPECT_EQ(got[6].Or(std::int64_t{0}), -5000000000);
    EXPECT_EQ(got[7].Or(std::uint64_t{0}), 18000000000000000000U);
    EXPECT_EQ(got[8].Or(0.0), 2.5);
    EXPECT_EQ(got[9].Or<std::string>(""), "t\xC3\xA4xt");
    EXPECT_EQ(got[10].Or(ObjectPath{}).text, "/a/b");
    EXPECT_EQ(got[11].Or(Bytes{}), (Bytes{0, 1, 255}));
    EXPECT_EQ(got[12].Or(Bytes{1}), Bytes{});
    EXPECT_THAT(ReadTexts(got[13]), ElementsAre("x", ""));
    EXPECT_THAT(ReadTexts(got[14]), ElementsAre());
    EXPECT_EQ(got[15].As<Structure>()->fields.at(1).Or<std::string>(""), "in");
    EXPECT_EQ(got[16].Or(std::uint8_t{0}), 7);
    const Properties properties = ReadProperties(got[17]);
    EXPECT_EQ(Find<Bytes>(properties, "Data"), Bytes{9});
    EXPECT_THAT(ReadTexts(properties.at("Texts")), ElementsAre("t"));
    EXPECT_EQ(Find<bool>(ReadInterfaces(got[18]).at("i.f"), "On"), true);
    EXPECT_EQ(Find<bool>(properties, "Data"), std::nullopt);
    EXPECT_EQ(Find<Bytes>(properties, "Absent"), std::nullopt);
}

TEST_F(ABus, CarriesDescriptors)
{
    ServeEcho(
        [](const Incoming& call, Invocation invocation) { invocation.Return(call.arguments); });
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const FileDescriptor out(ends[0]);
    const auto in = std::make_shared<const FileDescriptor>(ends[1]);
    const Reply answer = Ask("/test/one", kInterface, "Echo", {Handle{in}});
    const Handle* const handle = answer.First<Handle>();
    ASSERT_NE(handle, nullptr);
    EXPECT_NE(handle->descriptor->Get(), in->Get());
    ASSERT_EQ(write(handle->descriptor->Get(), "!", 1), 1);
    char character = 0;
    EXPECT_EQ(read(out.Get(), &character, 1), 1);
    EXPECT_EQ(character, '!');
}

TEST_F(ABus, ReportsErrorsByName)
{
    ServeEcho([](const Incoming&, Invocation invocation) {
        invocation.Fail({"org.bluez.Error.InProgress", "not 100% done"});
    });
    const Reply answer = Ask("/test/one", kInterface, "Echo", {});
    ASSERT_TRUE(answer.IsError());
    EXPECT_EQ(answer.error->name, "org.bluez.Error.InProgress");
    EXPECT_FALSE(IsSilence(*answer.error));
    EXPECT_EQ(answer.error->message, "not 100% done");
}

TEST_F(ABus, AnswersUnknownCallsWithErrors)
{
    ServeEcho([](const Incoming&, Invocation invocation) { invocation.Return(); });
    const auto errorOf = [this](const char* path, const char* interface, const char* method,
                                const Arguments& arguments) {
        return Ask(path, interface, method, arguments).error.value_or(Error()).name;
    };
    const std::string unknown = "org.freedesktop.DBus.Error.Unknown";
    EXPECT_EQ(errorOf("/test/two", kInterface, "Echo", {}), unknown + "Object");
    EXPECT_EQ(errorOf("/test/one", "test.Other", "Echo", {}), unknown + "Interface");
    EXPECT_EQ(errorOf("/test/one", kInterface, "Shout", {}), unknown + "Method");
    EXPECT_EQ(errorOf("/test/one", kProperties, "Get", {kInterface, "Colour"}),
              unknown + "Property");
    EXPECT_EQ(errorOf("/test/one", kProperties, "GetAll", {}), unknown + "Interface");
    EXPECT_EQ(errorOf("/test/one", kProperties, "Set", {kInterface, "Name", InVariant("two")}),
              "org.freedesktop.DBus.Error.PropertyReadOnly");
    EXPECT_EQ(Ask("/test/one", kInterface, "Echo", {}).IsError(), false);
}

TEST_F(ABus, ShowsObjectsAndTheirProperties)
{
    ServeEcho([](const Incoming&, Invocation invocation) { invocation.Return(); });
    const Reply all = Ask("/test", kObjectManager, "GetManagedObjects", {});
    const Dictionary* const objects = all.First<Dictionary>();
    ASSERT_NE(objects, nullptr);
    ASSERT_EQ(objects->entries.size(), 1U);
    EXPECT_EQ(objects->entries[0].first.Or(ObjectPath{}).text, "/test/one");
    const Interfaces interfaces = ReadInterfaces(objects->entries[0].second);
    EXPECT_EQ(Find<std::uint16_t>(interfaces.at(kInterface), "Size"), 5);
    const Reply one = Ask("/test/one", kProperties, "GetAll", {kInterface});
    EXPECT_EQ(Find<std::string>(ReadProperties(one.arguments.at(0)), "Name"), "one");
    EXPECT_EQ(Ask("/test/one", kProperties, "Get", {kInterface, "Name"}).First<std::string>()[0],
              "one");
}

TEST_F(ABus, NotifiesOfAChangedProperty)
{
    ServeEcho([](const Incoming&, Invocation invocation) { invocation.Return(); });
    std::optional<Signal> heard;
    Do([&] {
        SignalFilter filter;
        filter.sender = "test.Server";
        filter.path = "/test/one";
        filter.name = "PropertiesChanged";
        Waited(client->Watch(filter, [&](const Signal& signal) { heard = signal; }));
    });
    Ask("/test/one", kInterface, "Echo", {});  // the bus has the filter by now
    Do([&] { tree->Set("/test/one", kInterface, "Size", std::uint16_t{6}); });
    ASSERT_TRUE(Eventually([&] { return heard.has_value(); }));
    EXPECT_EQ(heard->path, "/test/one");
    EXPECT_EQ(heard->arguments.at(0).Or<std::string>(""), kInterface);
    EXPECT_EQ(Find<std::uint16_t>(ReadProperties(heard->arguments.at(1)), "Size"), 6);
    const Reply size = Ask("/test/one", kProperties, "Get", {kInterface, "Size"});
    EXPECT_EQ(*size.First<std::uint16_t>(), 6);
}

TEST_F(ABus, AnswersACallThatCannotBeSentWithAnError)
{
    ServeEcho([](const Incoming&, Invocation invocation) { invocation.Return(); });
    const Reply answer = Ask("/test/one", kInterface, "Echo", {"\xFF"});  // not UTF-8
    ASSERT_TRUE(answer.IsError());
    EXPECT_EQ(answer.error->name, "org.freedesktop.DBus.Error.InvalidArgs");
}

TEST_F(ABus, EndsACallThatIsNotAnsweredInTime)
{
    std::optional<Invocation> kept;
    ServeEcho([&](const Incoming&, Invocation invocation) { kept = std::move(invocation); });
    const auto begin = Loop::Clock::now();
    const Reply answer = Ask("/test/one", kInterface, "Echo", {}, milliseconds(50));
    EXPECT_GE(Loop::Clock::now() - begin, milliseconds(50));
    ASSERT_TRUE(answer.IsError());
    EXPECT_TRUE(IsSilence(*answer.error)) << answer.error->name;
    Do([&] { kept.reset(); });
}

TEST_F(ABus, AnswersACallThatWasDroppedWithAnError)
{
    ServeEcho([](const Incoming&, const Invocation&) {});
    const Reply answer = Ask("/test/one", kInterface, "Echo", {});
    ASSERT_TRUE(answer.IsError());
    EXPECT_EQ(answer.error->message, "not answered");
}

TEST_F(ABus, DoesNotCallBackAfterTheSlotsEnd)
{
    std::optional<Invocation> kept;
    ServeEcho([&](const Incoming&, Invocation invocation) { kept = std::move(invocation); });
    bool isCalled = false;
    Bus::Slot slot = Do([&] {
        return client->Call({"test.Server", "/test/one", kInterface, "Echo"}, {},
                            [&](const Reply&) { isCalled = true; });
    });
    ASSERT_TRUE(Eventually([&] { return kept.has_value(); }));
    Do([&] {
        slot.Reset();
        kept->Return();
        kept.reset();
    });
    Ask("/test/two", kInterface, "Echo", {});  // the answer would have come before this one
    EXPECT_FALSE(Do([&] { return isCalled; }));
}

TEST_F(ABus, SendsWithoutAHandleAndReportsTheAnswer)
{
    ServeEcho(
        [](const Incoming& call, Invocation invocation) { invocation.Return(call.arguments); });
    Do([&] { client->Send({"test.Server", "/test/one", kInterface, "Echo"}, {"x"}, Store()); });
    ASSERT_TRUE(Eventually([&] { return reply.has_value(); }));
    EXPECT_EQ(*Do([&] { return reply; })->First<std::string>(), "x");
}

TEST_F(ABus, ReportsExceptionsOfCallbacksAndGoesOn)
{
    ServeEcho([](const Incoming&, Invocation) { throw std::runtime_error("torn"); });
    EXPECT_TRUE(Ask("/test/one", kInterface, "Echo", {}).IsError());
    EXPECT_THAT(complaints.Take(), ElementsAre("torn"));
}

TEST_F(ABus, ReportsItsLossAndEndsItsCalls)
{
    std::optional<Invocation> kept;
    ServeEcho([&](const Incoming&, Invocation invocation) { kept = std::move(invocation); });
    Do([&] {
        Waited(client->Call({"test.Server", "/test/one", kInterface, "Echo"}, {}, Store()));
    });
    ASSERT_TRUE(Eventually([&] { return kept.has_value(); }));
    bus.Kill();
    EXPECT_TRUE(Eventually([&] { return lost == 2; }));
    EXPECT_TRUE(Eventually([&] { return reply.has_value(); }));
    EXPECT_TRUE(Do([&] { return reply->IsError(); }));
    Do([&] { kept.reset(); });
}

TEST_F(ABus, FailsToOpenWhereThereIsNone)
{
    bus.Kill();
    EXPECT_TRUE(Eventually([&] { return lost == 2; }));
    EXPECT_THROW(Do([this] { Open(); }), std::system_error);
}

TEST_F(ABus, SleepsWhileThereIsNoTraffic)
{
    ServeEcho([](const Incoming&, Invocation invocation) { invocation.Return(); });
    Ask("/test/one", kInterface, "Echo", {});
    Do([] {});
    const std::uint64_t before = loop.Turns();
    std::this_thread::sleep_for(milliseconds(500));  // the time that is measured
    EXPECT_LE(loop.Turns() - before, 2U);
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
