#include <service/linux/bluetooth/GattClient.h>
#include <tests/service/linux/GattFaceTest.h>

namespace pelacon::service::linux_radios::tests {

namespace {

using dbus::Bytes;
using nlohmann::json;
using testing::ElementsAre;
using testing::IsEmpty;

class AGattClient : public GattFaceTest, protected radio::GattConnectionObserver {
  protected:
    AGattClient()
    {
        AddDevice();
        Locked([this] { client = std::make_unique<bluetooth::GattClient>(*host, gate); });
    }
    /// Not in the destructor, as this is an observer until then.
    void TearDown() override
    {
        Locked([this] {
            connection.reset();
            client.reset();
        });
    }

    void AddServices()
    {
        AddService("service1", "180d");
        const auto add = [this](const std::string& path, const char* uuid, const json& flags) {
            bluetoothd->Do({{"do", "characteristic"},
                            {"path", path},
                            {"UUID", uuid},
                            {"Flags", flags},
                            {"MTU", 100}});
        };
        add(kMeasurementPath, "2a37", {"read", "notify"});
        add(kControlPointPath, "2a39", {"write", "indicate"});
        Change(kDevicePath, "ServicesResolved", true);
    }
    void AddService(const std::string& name, const char* uuid)
    {
        bluetoothd->Do({{"do", "service"}, {"path", kDevicePath + ("/" + name)}, {"UUID", uuid}});
    }
    void BeginToConnect()
    {
        Locked([this] {
            connection = client->Connect(kAddress, *this);
            EXPECT_THAT(events, IsEmpty());
            EXPECT_FALSE(connection->IsUp());
        });
    }
    void Connect()
    {
        BeginToConnect();
        ASSERT_TRUE(Eventually([this] { return !events.empty(); }));
        AddServices();
        EXPECT_EQ(Await(Locked([this] { return connection->Discover(); })), GattStatus::kDone);
    }
    /// Waits for the result.
    template <typename Value>
    Value Await(const Completion<Value>& completion)
    {
        EXPECT_TRUE(Eventually([&] { return completion.Get().has_value(); }));
        return Locked([&] { return completion.Get().value(); });
    }
    auto Read()
    {
        return Locked([this] { return connection->Read(kHeartRate, kMeasurement); });
    }
    auto Write(Bytes value)
    {
        return Locked([&] { return connection->Write(kHeartRate, kControlPoint, value); });
    }
    auto Subscribe(const Uuid& characteristic)
    {
        return Locked([&] { return connection->Subscribe(kHeartRate, characteristic, true); });
    }
    /// The events up to now.
    std::vector<std::string> Events()
    {
        return Locked([this] { return events; });
    }

    // Called with the lock held.
    void Connected() override { Add("connected"); }
    void Ended(GattReason reason) override { Add(EndedBy(reason)); }
    void Notified(const Uuid& service, const Uuid& characteristic, const radio::GattValue& value,
                  bool isIndication) override
    {
        EXPECT_EQ(service, kHeartRate);
        EXPECT_EQ(characteristic, isIndication ? kControlPoint : kMeasurement);
        values.push_back(value);
        Add("notified");
    }
    void Add(const std::string& event)
    {
        if (event == destroyAt) {
            connection.reset();
        }
        events.push_back(event);
    }
    static std::string EndedBy(GattReason reason)
    {
        return "ended: " + std::to_string(static_cast<int>(reason));
    }

    static inline const Uuid kMeasurement = *protocol::ParseUuid("2a37");
    static inline const Uuid kControlPoint = *protocol::ParseUuid("2a39");
    static inline const Uuid kBattery = *protocol::ParseUuid("180f");
    const std::string kMeasurementPath = std::string(kDevicePath) + "/service1/char1";
    const std::string kControlPointPath = std::string(kDevicePath) + "/service1/char2";

    std::vector<std::string> events;
    std::vector<Bytes> values;
    std::string destroyAt;  // an event
    std::unique_ptr<bluetooth::GattClient> client;
    std::unique_ptr<radio::GattConnection> connection;
};

TEST_F(AGattClient, ConnectsAndKnowsTheDevice)
{
    BeginToConnect();
    ASSERT_TRUE(Eventually([this] { return !events.empty(); }));
    EXPECT_THAT(Events(), ElementsAre("connected"));
    AddServices();
    Locked([this] {
        EXPECT_TRUE(connection->IsUp());
        EXPECT_FALSE(connection->HasService(kHeartRate));
    });
    ASSERT_EQ(Await(Locked([this] { return connection->Discover(); })), GattStatus::kDone);
    Locked([this] {
        EXPECT_TRUE(connection->HasService(kHeartRate));
        EXPECT_FALSE(connection->HasService(kBattery));
        EXPECT_EQ(connection->Mtu(), 100);
    });
}

TEST_F(AGattClient, HasTheSmallestMtuUntilTheOtherIsKnown)
{
    BeginToConnect();
    ASSERT_TRUE(Eventually([this] { return !events.empty(); }));
    Locked([this] { EXPECT_EQ(connection->Mtu(), kSmallestMtu); });
    AddServices();
    EXPECT_TRUE(Eventually([this] { return connection->Mtu() == 100; }));
}

TEST_F(AGattClient, FollowsTheServicesOfTheDevice)
{
    Connect();
    AddService("service2", "180f");
    EXPECT_TRUE(Eventually([this] { return connection->HasService(kBattery); }));
    bluetoothd->Do({{"do", "remove"}, {"path", std::string(kDevicePath) + "/service2"}});
    EXPECT_TRUE(Eventually([this] { return !connection->HasService(kBattery); }));
    Locked([this] { EXPECT_TRUE(connection->HasService(kHeartRate)); });
}

TEST_F(AGattClient, ReadsAndWrites)
{
    Connect();
    Change(kMeasurementPath, "Value", "0a0b");
    const auto read = Await(Read());
    EXPECT_EQ(read.status, GattStatus::kDone);
    EXPECT_EQ(read.value, FromHex("0a0b"));
    EXPECT_EQ(Await(Write({1, 2})), GattStatus::kDone);
    const json made = bluetoothd->Do({{"do", "calls"}});
    EXPECT_EQ(made.back().at(0), "WriteValue");
    EXPECT_EQ(made.back().at(2), "0102");
    EXPECT_EQ(Await(Write(Bytes(512, 7))), GattStatus::kDone);
    EXPECT_EQ(Await(Write(Bytes(513, 7))), GattStatus::kInvalidValue);
    EXPECT_EQ(Await(Locked([this] { return connection->Read(kBattery, kMeasurement); })).status,
              GattStatus::kNotFound);
}

TEST_F(AGattClient, IsNotifiedInOrderAndNotOfWhatItReads)
{
    Connect();
    ASSERT_EQ(Await(Subscribe(kMeasurement)), GattStatus::kDone);
    static constexpr std::size_t kCount = 100;
    for (std::size_t i = 0; i < kCount; ++i) {
        // Also equal values, one after the other.
        Change(kMeasurementPath, "Value", i % 4 < 2 ? "01" : "02");
        if (i % 10 == 0) {
            EXPECT_EQ(Await(Read()).status, GattStatus::kDone);
        }
    }
    ASSERT_TRUE(Eventually([this] { return values.size() >= kCount; }));
    EXPECT_EQ(Await(Read()).status, GattStatus::kDone);
    Locked([this] {
        ASSERT_EQ(values.size(), kCount);
        for (std::size_t i = 0; i < kCount; ++i) {
            EXPECT_EQ(values[i], FromHex(i % 4 < 2 ? "01" : "02")) << i;
        }
    });
}

TEST_F(AGattClient, IsNotifiedWhileItReads)
{
    Connect();
    ASSERT_EQ(Await(Subscribe(kMeasurement)), GattStatus::kDone);
    Fail("ReadValue", {{"delay", 100}});
    const auto first = Read();
    const auto second = Read();  // answered before the first one
    for (const char* const value : {"01", "02", "03"}) {
        Change(kMeasurementPath, "Value", value);
    }
    EXPECT_EQ(Await(first).status, GattStatus::kDone);
    EXPECT_EQ(Await(second).status, GattStatus::kDone);
    ASSERT_TRUE(Eventually([this] { return values.size() >= 3; }));
    Fail("ReadValue", {{"delay", 100}, {"error", "org.bluez.Error.NotPermitted"}});
    const auto failing = Read();
    ASSERT_TRUE(IsCalled("ReadValue"));
    Change(kMeasurementPath, "Value", "04");
    EXPECT_EQ(Await(failing).status, GattStatus::kNotPermitted);
    ASSERT_TRUE(Eventually([this] { return values.size() >= 4; }));
    Locked([this] {
        EXPECT_THAT(values,
                    ElementsAre(FromHex("01"), FromHex("02"), FromHex("03"), FromHex("04")));
    });
}

TEST_F(AGattClient, IsNotNotifiedOfWhatAnEndedConnectionReads)
{
    Connect();
    ASSERT_EQ(Await(Subscribe(kMeasurement)), GattStatus::kDone);
    auto other = Locked([this] { return client->Connect(kAddress, *this); });
    ASSERT_TRUE(Eventually([&] { return other->IsUp(); }));
    Fail("ReadValue", {{"delay", 50}});
    Fail("ReadValue", {{"delay", 100}});
    const auto read = Locked([&] { return other->Read(kHeartRate, kMeasurement); });
    ASSERT_TRUE(IsCalled("ReadValue"));
    Locked([&] { other.reset(); });
    EXPECT_EQ(Await(read).status, GattStatus::kNotConnected);
    EXPECT_EQ(Await(Read()).status, GattStatus::kDone);  // after the other one
    Change(kMeasurementPath, "Value", "05");
    EXPECT_EQ(Await(Read()).status, GattStatus::kDone);
    Locked([this] { EXPECT_THAT(values, ElementsAre(FromHex("05"))); });
}

TEST_F(AGattClient, ReceivesIndications)
{
    Connect();
    ASSERT_EQ(Await(Subscribe(kControlPoint)), GattStatus::kDone);
    Change(kControlPointPath, "Value", "07");
    EXPECT_TRUE(Eventually([this] { return values.size() == 1; }));
}

TEST_F(AGattClient, EndsOperationsWithTheConnection)
{
    Connect();
    Fail("ReadValue", {{"never", true}});
    Fail("WriteValue", {{"never", true}});
    Fail("StartNotify", {{"never", true}});
    const auto read = Read();
    const auto write = Write({1});
    const auto subscribe = Subscribe(kMeasurement);
    Change(kDevicePath, "Connected", false);
    EXPECT_EQ(Await(read).status, GattStatus::kNotConnected);
    EXPECT_EQ(Await(write), GattStatus::kNotConnected);
    EXPECT_EQ(Await(subscribe), GattStatus::kNotConnected);
    ASSERT_TRUE(Eventually([this] { return events.size() == 2; }));
    EXPECT_THAT(Events(), ElementsAre("connected", EndedBy(GattReason::kPeer)));
    Locked([this] {
        EXPECT_FALSE(connection->IsUp());
        EXPECT_FALSE(connection->HasService(kHeartRate));
        EXPECT_EQ(connection->Discover().Get(), GattStatus::kNotConnected);
        EXPECT_EQ(connection->Write(kHeartRate, kControlPoint, {}).Get(),
                  GattStatus::kNotConnected);
    });
}

TEST_F(AGattClient, EndsOperationsWithTheBus)
{
    Connect();
    Fail("ReadValue", {{"never", true}});
    Fail("StartNotify", {{"never", true}});
    const auto read = Read();
    const auto subscribe = Subscribe(kMeasurement);
    ASSERT_TRUE(IsCalled("StartNotify"));
    bus.Kill();
    EXPECT_EQ(Await(read).status, GattStatus::kNotConnected);
    EXPECT_EQ(Await(subscribe), GattStatus::kNotConnected);
    ASSERT_TRUE(Eventually([this] { return events.size() == 2; }));
    EXPECT_THAT(Events(), ElementsAre("connected", EndedBy(GattReason::kLocal)));
}

TEST_F(AGattClient, EndsOperationsWhenItIsDestroyed)
{
    Connect();
    Fail("ReadValue", {{"never", true}});
    const auto read = Read();
    Locked([&] {
        EXPECT_FALSE(read.Get());
        connection.reset();
        ASSERT_TRUE(read.Get());
        EXPECT_EQ(read.Get()->status, GattStatus::kNotConnected);
    });
    EXPECT_TRUE(IsCalled("Disconnect"));
    EXPECT_THAT(Events(), ElementsAre("connected"));
}

TEST_F(AGattClient, IsLocalIfTheAdapterIsOff)
{
    Change("hci0", "Powered", false);
    ASSERT_TRUE(Eventually([this] { return !host->Picture().isOn; }));
    BeginToConnect();
    ASSERT_TRUE(Eventually([this] { return !events.empty(); }));
    EXPECT_THAT(Events(), ElementsAre(EndedBy(GattReason::kLocal)));
}

TEST_F(AGattClient, MayBeDestroyedWhenItConnects)
{
    Locked([this] { destroyAt = "connected"; });
    BeginToConnect();
    EXPECT_TRUE(IsCalled("Disconnect"));
    EXPECT_THAT(Events(), ElementsAre("connected"));
}

TEST_F(AGattClient, MayBeDestroyedByANotification)
{
    Connect();
    ASSERT_EQ(Await(Subscribe(kMeasurement)), GattStatus::kDone);
    Locked([this] { destroyAt = "notified"; });
    Fail("ReadValue", {{"never", true}});
    const auto read = Read();
    ASSERT_TRUE(IsCalled("ReadValue"));
    Change(kMeasurementPath, "Value", "01");
    Change(kMeasurementPath, "Value", "02");
    EXPECT_EQ(Await(read).status, GattStatus::kNotConnected);
    EXPECT_TRUE(IsCalled("StopNotify"));
    EXPECT_TRUE(IsCalled("Disconnect"));
    EXPECT_THAT(Events(), ElementsAre("connected", "notified"));
}

TEST_F(AGattClient, MayBeDestroyedWhenItEnds)
{
    Connect();
    Locked([this] { destroyAt = EndedBy(GattReason::kPeer); });
    Fail("ReadValue", {{"never", true}});
    const auto read = Read();
    Change(kDevicePath, "Connected", false);
    EXPECT_EQ(Await(read).status, GattStatus::kNotConnected);
    EXPECT_TRUE(Eventually([this] { return connection == nullptr; }));
}

TEST_F(AGattClient, CallsNothingOnceItsGateIsClosed)
{
    Connect();
    auto read = Locked([this] {
        gate->Close();
        return connection->Read(kHeartRate, kMeasurement);
    });
    Change(kDevicePath, "Connected", false);
    ASSERT_TRUE(Eventually([this] { return host->Picture().connected.empty(); }));
    Locked([&] {
        EXPECT_FALSE(read.Get());
        connection.reset();
        EXPECT_TRUE(read.Get());
    });
    EXPECT_THAT(Events(), ElementsAre("connected"));
}

}  // namespace

}  // namespace pelacon::service::linux_radios::tests
