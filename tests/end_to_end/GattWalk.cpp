#include <PelaconSDK/PelaconSDK.h>
#include <protocol/ServiceStatus.h>
#include <tests/end_to_end/GattWalk.h>
#include <tests/support/Bytes.h>
#include <tests/support/Mailbox.h>
#include <tests/support/ServiceProcess.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace pelacon::test {

namespace {

// The service's statuses, as numbers: those of the library are another enumeration.
constexpr std::int32_t kStatusDone = protocol::kStatusDone;
constexpr std::int32_t kStatusUnknownId = protocol::kStatusUnknownId;
constexpr std::int32_t kStatusInvalidArgument = protocol::kStatusInvalidArgument;
constexpr std::int32_t kStatusNotConnected = protocol::kStatusNotConnected;
constexpr std::int32_t kStatusNotFound = protocol::kStatusNotFound;

constexpr std::uint64_t kOwnAddress = 0x0A0B0C0D0E0F;
constexpr std::uint64_t kDevice = 0xC00000000001;
constexpr std::size_t kMostWalkers = 8;

/// A callback of one walker: its kind, a number that belongs to it, and data.
struct WalkEvent {
    std::string what;
    std::int64_t number = 0;
    ByteVector data = {};

    bool operator==(const WalkEvent&) const = default;
};

void PrintTo(const WalkEvent& event, std::ostream* out)
{
    *out << event.what << " " << event.number << " " << ::testing::PrintToString(event.data);
}

/// The callbacks of the walker's client and of its server, each in their order.
struct Mailboxes {
    Mailbox<WalkEvent> client;
    Mailbox<WalkEvent> server;
};

Mailboxes& MailboxesOf(std::size_t walker)
{
    static auto& all = *new std::array<Mailboxes, kMostWalkers>;
    return all.at(walker);
}

/// The walkers of client ids, by which callbacks of clients are assigned to walkers.
class Clients {
  public:
    void Add(std::int32_t id, std::size_t walker)
    {
        const std::lock_guard lock(mutex_);
        walkers_[id] = walker;
    }
    Mailbox<WalkEvent>& MailboxOf(std::int32_t id)
    {
        const std::lock_guard lock(mutex_);
        return MailboxesOf(walkers_.at(id)).client;
    }

  private:
    std::mutex mutex_;
    std::map<std::int32_t, std::size_t> walkers_;
};

Clients& TheClients()
{
    static auto& clients = *new Clients;
    return clients;
}

BtGattClientCallbacksC walkingClient{
    [](std::int32_t id, std::int32_t state, std::int32_t reason) {
        TheClients().MailboxOf(id).Put({"state", state * 1000 + reason});
    },
    [](std::int32_t id, const char*, const char*, const std::uint8_t* data, std::uint32_t dataLen,
       std::int32_t kind) {
        TheClients().MailboxOf(id).Put({"value", kind, {data, data + dataLen}});
    }};

/// Callbacks of servers have no id, so each walker has tables of its own. They ignore connections,
/// as those of all walkers are reported.
template <std::size_t Walker>
BtGattServerCallbacksC walkingServer{nullptr, nullptr,
                                     [](std::uint64_t, std::uint32_t status) {
                                         MailboxesOf(Walker).server.Put({"sent", status});
                                     },
                                     nullptr};

template <std::size_t Walker>
BtGattCharCallbacksC walkingChar{
    [](std::uint64_t, const char*, const char*, const std::uint8_t* data, std::uint32_t dataLen) {
        MailboxesOf(Walker).server.Put({"read", 0, {data, data + dataLen}});
    },
    [](std::uint64_t, const char*, const char*, const std::uint8_t* data, std::uint32_t dataLen) {
        MailboxesOf(Walker).server.Put({"write", 0, {data, data + dataLen}});
    }};

struct Tables {
    BtGattServerCallbacksC* server;
    BtGattCharCallbacksC* characteristic;
};

template <std::size_t... Walker>
Tables TablesOf(std::size_t walker, std::index_sequence<Walker...> /*all*/)
{
    const Tables all[] = {{&walkingServer<Walker>, &walkingChar<Walker>}...};
    return all[walker];
}

const std::string kChar = "2a37";
constexpr std::int32_t kOwnMtu = 200;
constexpr std::int32_t kDeviceMtu = 100;
constexpr std::int64_t kIsConnected = 1000;
constexpr std::int64_t kIsEnded = kBleGattReasonLocal;

/// The service of a walker, on the device and on its own server.
std::string ServiceOf(std::size_t walker)
{
    return "a00" + std::to_string(walker);
}

/// A world with one device that has a service for each walker.
std::string WorldFor(unsigned walkers)
{
    nlohmann::json services = nlohmann::json::array();
    for (std::size_t i = 0; i < walkers; ++i) {
        services.push_back(
            {{"uuid", ServiceOf(i)},
             {"characteristics",
              {{{"uuid", kChar}, {"flags", {"read", "write", "notify"}}, {"value", "00"}}}}});
    }
    return nlohmann::json{
        {"adapter", {{"address", "0A:0B:0C:0D:0E:0F"}}},
        {"gatt", {{"connectMs", 0}, {"mtu", kOwnMtu}}},
        {"peripherals",
         {{{"address", "C0:00:00:00:00:01"},
           {"advertising", {{"on", false}}},
           {"gatt", {{"connectMs", 0}, {"mtu", kDeviceMtu}, {"services", services}}}}}}}
        .dump();
}

/// One thread's client and server, and the model of both.
class Walker {
  public:
    Walker(std::size_t number, unsigned seed)
        : number_(number),
          service_(ServiceOf(number)),
          tables_(TablesOf(number, std::make_index_sequence<kMostWalkers>())),
          random_(seed)
    {
        RegisterClient();
        RegisterServer();
    }
    ~Walker()
    {
        BleGattClient::BleGattClientUnRegister(client_);
        BleGattServer::BleGattServerUnRegister(server_);
    }
    Walker(const Walker&) = delete;
    Walker& operator=(const Walker&) = delete;

    void Step()
    {
        using Action = void (Walker::*)();
        // Actions that others depend on are listed more often than those that end something.
        constexpr Action kActions[] = {
            &Walker::Connect,    &Walker::Connect,   &Walker::Search,     &Walker::Search,
            &Walker::Search,     &Walker::Read,      &Walker::Read,       &Walker::Write,
            &Walker::Write,      &Walker::Subscribe, &Walker::Subscribe,  &Walker::Publish,
            &Walker::Publish,    &Walker::Publish,   &Walker::GetService, &Walker::GetMtu,
            &Walker::Start,      &Walker::Start,     &Walker::AddService, &Walker::AddService,
            &Walker::Stop,       &Walker::Delete,    &Walker::Disconnect, &Walker::RenewClient,
            &Walker::RenewServer};
        (this->*kActions[Any(std::size(kActions))])();
        if (::testing::Test::HasFailure()) {
            ADD_FAILURE() << "walker " << number_;
        }
    }

  private:
    /// The other end of the client's connection.
    enum class End { kNone, kSimulated, kOwnServer };

    std::size_t Any(std::size_t count) { return random_() % count; }
    ByteVector AnyValue()
    {
        constexpr std::size_t kLengths[] = {0, 1, 2, 20, 1024};
        ByteVector value(kLengths[Any(std::size(kLengths))]);
        std::generate(value.begin(), value.end(),
                      [this] { return static_cast<std::uint8_t>(random_()); });
        return value;
    }

    void ExpectClientEvent(const WalkEvent& event)
    {
        EXPECT_EQ(MailboxesOf(number_).client.Next(), event);
    }
    void ExpectServerEvent(const WalkEvent& event)
    {
        EXPECT_EQ(MailboxesOf(number_).server.Next(), event);
    }

    // ---- The model

    bool IsUp() const { return end_ != End::kNone; }
    bool IsStarted() const { return isStarted_; }

    /// The status of an operation on the peer's characteristic whose arguments are valid.
    std::int32_t PeerStatus() const
    {
        if (!IsUp()) {
            return kStatusNotConnected;
        }
        const bool isThere = end_ == End::kSimulated || IsStarted();
        return isDiscovered_ && isThere ? kStatusDone : kStatusNotFound;
    }

    std::int32_t Mtu() const { return end_ == End::kSimulated ? kDeviceMtu : kOwnMtu; }

    /// What the client receives of a value that its peer notifies.
    ByteVector Notified(ByteVector value) const
    {
        constexpr std::size_t kHeader = 3;  // opcode and handle
        value.resize(std::min(value.size(), static_cast<std::size_t>(Mtu()) - kHeader));
        return value;
    }

    ByteVector& PeerValue() { return end_ == End::kSimulated ? deviceValue_ : value_; }

    void EndConnection()
    {
        end_ = End::kNone;
        isDiscovered_ = false;
        isSubscribed_ = false;
    }

    /// The service becomes invisible, and its subscriptions end.
    void HideService()
    {
        isStarted_ = false;
        if (end_ == End::kOwnServer) {
            isSubscribed_ = false;
        }
    }

    // ---- The client

    void RegisterClient()
    {
        ASSERT_EQ(BleGattClient::BleGattClientRegister(&client_), 0);
        TheClients().Add(client_, number_);
    }

    void Connect()
    {
        const bool isHere = Any(2) == 0;
        ASSERT_EQ(BleGattClient::BleGattClientConnect(client_, isHere ? kOwnAddress : kDevice,
                                                      &walkingClient),
                  0);
        if (IsUp()) {
            ExpectClientEvent({"state", kIsEnded});
        }
        ExpectClientEvent({"state", kIsConnected});
        EndConnection();
        end_ = isHere ? End::kOwnServer : End::kSimulated;
    }

    void Disconnect()
    {
        EXPECT_EQ(BleGattClient::BleGattClientDisconnect(client_),
                  IsUp() ? kStatusDone : kStatusNotConnected);
        if (IsUp()) {
            ExpectClientEvent({"state", kIsEnded});
        }
        EndConnection();
    }

    void RenewClient()
    {
        const std::int32_t before = client_;
        EXPECT_EQ(BleGattClient::BleGattClientUnRegister(client_), 0);
        EXPECT_EQ(BleGattClient::BleGattClientSearchServices(before), kStatusUnknownId);
        EndConnection();
        RegisterClient();
        EXPECT_NE(client_, before);
    }

    void Search()
    {
        EXPECT_EQ(BleGattClient::BleGattClientSearchServices(client_),
                  IsUp() ? kStatusDone : kStatusNotConnected);
        isDiscovered_ = IsUp();
    }

    void GetService()
    {
        EXPECT_EQ(BleGattClient::BleGattClientGetService(client_, service_), PeerStatus());
        EXPECT_EQ(BleGattClient::BleGattClientGetService(client_, "bad"), kStatusInvalidArgument);
    }

    void GetMtu()
    {
        std::int32_t mtu = -1;
        EXPECT_EQ(BleGattClient::BleGattClientGetMtu(client_, &mtu),
                  IsUp() ? kStatusDone : kStatusNotConnected);
        EXPECT_EQ(mtu, IsUp() ? Mtu() : -1);
    }

    void Read()
    {
        ByteVector value;
        EXPECT_EQ(BleGattClient::BleGattClientReadCharacteristic(client_, service_, kChar, &value),
                  PeerStatus());
        if (PeerStatus() != kStatusDone) {
            EXPECT_TRUE(value.empty());
            return;
        }
        EXPECT_EQ(value, PeerValue());
        if (end_ == End::kOwnServer) {
            ExpectServerEvent({"read", 0, value});
        }
    }

    void Write()
    {
        const ByteVector value = AnyValue();
        EXPECT_EQ(BleGattClient::BleGattClientWriteCharacteristic(client_, service_, kChar, value),
                  PeerStatus());
        if (PeerStatus() != kStatusDone) {
            return;
        }
        PeerValue() = value;
        if (end_ == End::kOwnServer) {
            ExpectServerEvent({"write", 0, value});
        } else if (isSubscribed_) {  // the device notifies what is written
            ExpectClientEvent({"value", kBleGattNotification, Notified(value)});
        }
    }

    void Subscribe()
    {
        const bool enable = Any(4) != 0;
        EXPECT_EQ(
            BleGattClient::BleGattClientRegisterNotification(client_, service_, kChar, enable),
            PeerStatus());
        if (PeerStatus() == kStatusDone) {
            isSubscribed_ = enable;
        }
    }

    // ---- The server

    void RegisterServer()
    {
        ASSERT_EQ(BleGattServer::BleGattServerRegister(tables_.server, &server_), 0);
    }

    void RenewServer()
    {
        const std::int32_t before = server_;
        EXPECT_EQ(BleGattServer::BleGattServerUnRegister(server_), 0);
        EXPECT_EQ(BleGattServer::BleGattServerStartService(before, handle_), kStatusUnknownId);
        HideService();
        handle_ = 0;
        RegisterServer();
        EXPECT_NE(server_, before);
    }

    void AddService()
    {
        std::int32_t handle = -1;
        const bool isThere = handle_ != 0;
        EXPECT_EQ(BleGattServer::BleGattServerAddService(server_, service_, &handle),
                  isThere ? kStatusInvalidArgument : kStatusDone);
        if (isThere) {
            EXPECT_EQ(handle, -1);
            return;
        }
        handle_ = handle;
        value_ = AnyValue();
        BLECharacteristicInfo info{kChar, kBleGattCharRead | kBleGattCharWrite | kBleGattCharNotify,
                                   tables_.characteristic, value_};
        EXPECT_EQ(BleGattServer::BleGattServerAddCharacteristic(server_, handle_, &info), 0);
        EXPECT_EQ(BleGattServer::BleGattServerAddCharacteristic(server_, handle_, &info),
                  kStatusInvalidArgument);
    }

    std::int32_t HandleStatus() const { return handle_ != 0 ? kStatusDone : kStatusUnknownId; }

    void Start()
    {
        EXPECT_EQ(BleGattServer::BleGattServerStartService(server_, handle_), HandleStatus());
        isStarted_ = handle_ != 0;
    }

    void Stop()
    {
        EXPECT_EQ(BleGattServer::BleGattServerStopService(server_, handle_), HandleStatus());
        HideService();
    }

    void Delete()
    {
        EXPECT_EQ(BleGattServer::BleGattServerDeleteService(server_, handle_), HandleStatus());
        HideService();
        handle_ = 0;
    }

    void Publish()
    {
        const ByteVector value = AnyValue();
        EXPECT_EQ(BleGattServer::BleGattServerPublishNotify(server_, handle_, kChar, value, 0),
                  HandleStatus());
        if (handle_ == 0) {
            return;
        }
        value_ = value;
        if (end_ == End::kOwnServer && isSubscribed_) {
            ExpectClientEvent({"value", kBleGattNotification, Notified(value)});
            ExpectServerEvent({"sent", kStatusDone});
        }
    }

    std::size_t number_;
    std::string service_;
    Tables tables_;
    std::mt19937 random_;

    std::int32_t client_ = 0;
    End end_ = End::kNone;
    bool isDiscovered_ = false;
    bool isSubscribed_ = false;
    ByteVector deviceValue_{0};

    std::int32_t server_ = 0;
    std::int32_t handle_ = 0;  // 0 without a service
    bool isStarted_ = false;
    ByteVector value_;
};

/// Registers a server that exists throughout, so that this program always accepts connections, and
/// connections to it last.
void ServeAlways()
{
    static BtGattServerCallbacksC callbacks{};
    std::int32_t server = 0;
    std::int32_t handle = 0;
    ASSERT_EQ(BleGattServer::BleGattServerRegister(&callbacks, &server), 0);
    ASSERT_EQ(BleGattServer::BleGattServerAddService(server, "b000", &handle), 0);
    ASSERT_EQ(BleGattServer::BleGattServerStartService(server, handle), 0);
}

}  // namespace

void WalkGattRandomly(unsigned threads, unsigned operations, unsigned seed)
{
    ASSERT_LE(threads, kMostWalkers);
    const ServiceProcess service(WorldFor(threads));
    ASSERT_EQ(PelaconSvcStart(), 0);
    ServeAlways();
    std::vector<std::thread> walking;
    for (unsigned i = 0; i < threads; ++i) {
        walking.emplace_back([i, operations, seed] {
            Walker walker(i, seed + i);
            for (unsigned step = 0; step < operations && !::testing::Test::HasFailure(); ++step) {
                walker.Step();
            }
        });
    }
    for (std::thread& thread : walking) {
        thread.join();
    }
    for (std::size_t i = 0; i < threads; ++i) {
        EXPECT_EQ(MailboxesOf(i).client.Left(), 0U) << "a callback that was not expected";
        EXPECT_EQ(MailboxesOf(i).server.Left(), 0U) << "a callback that was not expected";
    }
    PelaconSvcStop();
}

}  // namespace pelacon::test
