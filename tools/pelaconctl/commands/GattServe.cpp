#include <PelaconSDK/PelaconSDK.h>
#include <os/Threads.h>
#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattFile.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/ServiceWatch.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/GattServe.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iostream>
#include <variant>
#include <vector>

namespace pelacon::ctl {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Json = nlohmann::ordered_json;
using protocol::Uuid;

/// How long nothing may be told before it is seen whether the service still knows this server.
constexpr std::chrono::milliseconds kLookAtServer(250);

/// What a peer did.
struct PeerEvent {
    const char* what;  ///< for programs
    std::uint64_t peer;
    std::string line;  ///< for people, behind the peer's address
    Json fields = Json::object();
};

/// A line of standard input.
struct InputLine {
    std::string text;
};

using ServerEvent = std::variant<PeerEvent, InputLine>;

Mailbox<ServerEvent>& ServerEvents()
{
    static auto& events = *new Mailbox<ServerEvent>;
    return events;
}

void PostRequest(const char* what, const char* verb, std::uint64_t peer, const char* service,
                 const char* characteristic, const std::uint8_t* data, std::uint32_t dataLen)
{
    const Bytes value(data, data + dataLen);
    const Uuid serviceUuid = ParseUuidText(service);
    const Uuid charUuid = ParseUuidText(characteristic);
    PeerEvent event{what, peer,
                    std::string(" ") + verb + " " + FormatUuid(serviceUuid) + "/" +
                        FormatUuid(charUuid) + ": " + FormatValue(value)};
    AddUuid(event.fields, "service", serviceUuid);
    AddUuid(event.fields, "characteristic", charUuid);
    AddValue(event.fields, value);
    ServerEvents().Post(std::move(event));
}

BtGattServerCallbacksC& ServerTable()
{
    static BtGattServerCallbacksC table{
        [](std::uint64_t peer) {
            ServerEvents().Post(PeerEvent{"connected", peer, " connected"});
        },
        [](std::uint64_t peer) {
            ServerEvents().Post(PeerEvent{"disconnected", peer, " disconnected"});
        },
        [](std::uint64_t peer, std::uint32_t status) {
            const bool arrived = status == 0;
            ServerEvents().Post(PeerEvent{
                "sent",
                peer,
                arrived ? " was told" : " was not told (code " + std::to_string(status) + ")",
                {{"status", status}}});
        },
        [](std::uint64_t peer, std::uint32_t mtu) {
            ServerEvents().Post(
                PeerEvent{"mtu", peer, " has MTU " + std::to_string(mtu), {{"mtu", mtu}}});
        }};
    return table;
}

BtGattCharCallbacksC& CharTable()
{
    static BtGattCharCallbacksC table{
        [](std::uint64_t peer, const char* service, const char* characteristic,
           const std::uint8_t* data, std::uint32_t dataLen) {
            PostRequest("read", "reads", peer, service, characteristic, data, dataLen);
        },
        [](std::uint64_t peer, const char* service, const char* characteristic,
           const std::uint8_t* data, std::uint32_t dataLen) {
            PostRequest("write", "writes", peer, service, characteristic, data, dataLen);
        }};
    return table;
}

/// Serves as long as it lives.
class Server {
  public:
    explicit Server(const std::vector<ServedService>& services) : services_(services) { Publish(); }
    ~Server() { BleGattServer::BleGattServerUnRegister(id_); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Serves anew where the service has forgotten all; true when it had.
    bool Renew()
    {
        const std::int32_t status = BleGattServer::BleGattServerStartService(id_, handles_.front());
        if (status != protocol::kStatusUnknownId) {
            return false;
        }
        Publish();
        return true;
    }

    /// Makes a value the current one and tells all that want to hear of it: that of this service's
    /// characteristic, or else of the first that has one with this UUID. Returns the service.
    Uuid SetValue(const std::optional<Uuid>& service, const Uuid& characteristic,
                  const Bytes& value)
    {
        for (std::size_t i = 0; i < services_.size(); ++i) {
            auto& characteristics = services_[i].characteristics;
            const auto found =
                std::ranges::find(characteristics, characteristic, &ServedCharacteristic::uuid);
            const bool isMeant = !service || services_[i].uuid == *service;
            if (isMeant && found != characteristics.end()) {
                Check(BleGattServer::BleGattServerPublishNotify(
                          id_, handles_[i], protocol::LongText(characteristic), value, 0),
                      "publish the value");
                found->value = value;
                return services_[i].uuid;
            }
        }
        throw Failure(ExitStatus::kFailed, "There is no characteristic " +
                                               (service ? FormatUuid(*service) + "/" : "") +
                                               FormatUuid(characteristic) + " to set.");
    }

  private:
    void Publish()
    {
        handles_.clear();
        Check(BleGattServer::BleGattServerRegister(&ServerTable(), &id_), "become a GATT server");
        for (const ServedService& service : services_) {
            std::int32_t handle = 0;
            const std::string uuid = FormatUuid(service.uuid);
            Check(BleGattServer::BleGattServerAddService(id_, protocol::LongText(service.uuid),
                                                         &handle),
                  "add service " + uuid);
            for (const ServedCharacteristic& characteristic : service.characteristics) {
                BLECharacteristicInfo info{protocol::LongText(characteristic.uuid),
                                           characteristic.flags, &CharTable(),
                                           characteristic.value};
                Check(BleGattServer::BleGattServerAddCharacteristic(id_, handle, &info),
                      "add characteristic " + FormatUuid(characteristic.uuid));
            }
            Check(BleGattServer::BleGattServerStartService(id_, handle), "start service " + uuid);
            handles_.push_back(handle);
        }
    }

    std::vector<ServedService> services_;  // with the values that they have now
    std::int32_t id_ = 0;
    std::vector<std::int32_t> handles_;
};

/// Reads standard input until its end, on a thread of its own: it may block for ever.
void ReadInput()
{
    os::StartDetachedThread([] {
        std::string line;
        while (std::getline(std::cin, line)) {
            ServerEvents().Post(InputLine{line});
        }
    });
}

/// Does what a line such as `2A37 0048` or `180F/2A19 "high"` says. What is wrong with it is said,
/// and does not end the command.
void TakeInput(const std::string& line, Server& server, const Console& console)
{
    const std::size_t begin = line.find_first_not_of(" \t\r");
    if (begin == std::string::npos) {
        return;
    }
    const std::size_t end = line.find_last_not_of(" \t\r") + 1;
    const std::size_t blank = std::min(line.find_first_of(" \t", begin), end);
    const std::string path = line.substr(begin, blank - begin);
    const std::size_t value = std::min(line.find_first_not_of(" \t", blank), end);
    try {
        const std::size_t slash = path.find('/');
        std::optional<Uuid> service;
        if (slash != std::string::npos) {
            service = ParseUuidText(path.substr(0, slash));
        }
        const Uuid characteristic =
            ParseUuidText(slash != std::string::npos ? path.substr(slash + 1) : path);
        const Bytes bytes = ParseValue(line.substr(value, end - value));
        const Uuid owner = server.SetValue(service, characteristic, bytes);
        Json record{{"event", "value"}};
        AddUuid(record, "service", owner);
        AddUuid(record, "characteristic", characteristic);
        AddValue(record, bytes);
        console.Report(record, FormatUuid(owner) + "/" + FormatUuid(characteristic) + " is now " +
                                   FormatValue(bytes));
    } catch (const Failure& failure) {
        std::cerr << "pelaconctl: " << failure.what() << '\n';
    }
}

void ReportPeer(const PeerEvent& event, const Console& console)
{
    Json record{{"event", event.what}, {"peer", FormatAddress(event.peer)}};
    record.update(event.fields);
    console.Report(record, FormatAddress(event.peer) + event.line);
}

}  // namespace

void ServeGatt(const std::string& file, std::optional<double> seconds, const Console& console)
{
    const std::vector<ServedService> services = LoadServices(file);
    const Session session;
    session.RequireBluetooth();
    BtInfo info{};
    Check(GetBtMacAndName(&info), "read the adapter's address");
    const UntilInterrupt interrupt([] { ServerEvents().Close(); });
    Server server(services);
    console.Report({{"event", "serving"}, {"address", FormatAddress(info.mac)}},
                   "Serving under " + FormatAddress(info.mac) +
                       ". Lines such as 2A37 0048 set values; Ctrl-C ends it.");
    ReadInput();
    const auto end = After(seconds);
    ServiceWatch watch;
    while (!interrupt.Happened() && (!end || ServiceWatch::Clock::now() < *end)) {
        const auto soon = ServiceWatch::Clock::now() + kLookAtServer;
        const auto event = ServerEvents().Next(end ? std::min(*end, soon) : soon);
        const auto* peerEvent = event ? std::get_if<PeerEvent>(&*event) : nullptr;
        if (peerEvent != nullptr) {
            ReportPeer(*peerEvent, console);
            continue;
        }
        // Looked after for each line, too: lines may come without a pause.
        watch.Look();
        if (server.Renew()) {
            console.Report({{"event", "restarted"}},
                           "PelaconService was restarted; serving again.");
        }
        if (event) {
            TakeInput(std::get<InputLine>(*event).text, server, console);
        }
    }
}

}  // namespace pelacon::ctl
