// pelaconctl gatt serve: serving values to other devices.
#include <PelaconSDK/PelaconSDK.h>
#include <os/Threads.h>
#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/GattFile.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <iostream>
#include <variant>

namespace pelacon::ctl {

namespace {

using protocol::Uuid;

/// How often the command checks that the service still knows this server, while nothing happens.
constexpr std::chrono::milliseconds kCheckServer(250);

/// What a peer did.
struct PeerEvent {
    const char* what;  ///< for programs
    std::uint64_t peer;
    std::string line;  ///< for people, after the peer's address
    Json fields = Json::object();
};

/// A line of standard input.
struct InputLine {
    std::string text;
};

using ServerEvent = std::variant<PeerEvent, InputLine>;

void PostRequest(const char* what, const char* verb, std::uint64_t peer, const char* service,
                 const char* characteristic, const std::uint8_t* data, std::uint32_t dataLen)
{
    const Bytes value(data, data + dataLen);
    const GattPath path = GattPath::Parse(service, characteristic);
    PeerEvent event{what, peer,
                    std::string(" ") + verb + " " + path.Text() + ": " + FormatValue(value)};
    path.AddTo(event.fields);
    AddValue(event.fields, value);
    Events<ServerEvent>().Post(std::move(event));
}

BtGattServerCallbacksC& ServerTable()
{
    static BtGattServerCallbacksC table{
        [](std::uint64_t peer) {
            Events<ServerEvent>().Post(PeerEvent{"connected", peer, " connected"});
        },
        [](std::uint64_t peer) {
            Events<ServerEvent>().Post(PeerEvent{"disconnected", peer, " disconnected"});
        },
        [](std::uint64_t peer, std::uint32_t status) {
            const bool notified = status == 0;
            Events<ServerEvent>().Post(
                PeerEvent{"sent",
                          peer,
                          notified ? " was notified"
                                   : " was not notified (code " + std::to_string(status) + ")",
                          {{"status", status}}});
        },
        [](std::uint64_t peer, std::uint32_t mtu) {
            Events<ServerEvent>().Post(
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

/// Serves while it lives.
class Server {
  public:
    explicit Server(const std::vector<ServedService>& services) : services_(services) { Publish(); }
    ~Server() { BleGattServer::BleGattServerUnRegister(id_); }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Serves again if PelaconService was restarted and does not know the server; true if so.
    bool RestartIfForgotten()
    {
        const std::int32_t status = BleGattServer::BleGattServerStartService(id_, handles_.front());
        if (status != protocol::kStatusUnknownId) {
            return false;
        }
        Publish();
        return true;
    }

    /// Sets a value and notifies the subscribed peers. Without a service, the first one with this
    /// characteristic is meant. Returns which one it is.
    GattPath SetValue(const std::optional<Uuid>& service, const Uuid& characteristic,
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
                return {services_[i].uuid, characteristic};
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
        Check(BleGattServer::BleGattServerRegister(&ServerTable(), &id_), "register a GATT server");
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

    std::vector<ServedService> services_;  // with the current values
    std::int32_t id_ = 0;
    std::vector<std::int32_t> handles_;
};

/// Reads standard input until its end, on a detached thread, as reading may block for ever.
void ReadInput()
{
    os::StartDetachedThread([] {
        std::string line;
        while (std::getline(std::cin, line)) {
            Events<ServerEvent>().Post(InputLine{line});
        }
    });
}

/// Where a line of standard input puts a value.
struct InputTarget {
    std::optional<Uuid> service;
    Uuid characteristic;
};

/// Reads "2A37" or "180F/2A19". Throws Failure.
InputTarget ParseTarget(const std::string& path)
{
    const std::size_t slash = path.find('/');
    if (slash == std::string::npos) {
        return {std::nullopt, ParseUuidText(path)};
    }
    return {ParseUuidText(path.substr(0, slash)), ParseUuidText(path.substr(slash + 1))};
}

/// Sets the value of a line such as `2A37 0048` or `180F/2A19 "high"`. Throws Failure.
void TakeInput(const std::string& line, Server& server, const Console& console)
{
    const std::size_t begin = line.find_first_not_of(" \t\r");
    if (begin == std::string::npos) {
        return;
    }
    const std::size_t end = line.find_last_not_of(" \t\r") + 1;
    const std::size_t blank = std::min(line.find_first_of(" \t", begin), end);
    const std::size_t value = std::min(line.find_first_not_of(" \t", blank), end);
    const InputTarget target = ParseTarget(line.substr(begin, blank - begin));
    const Bytes bytes = ParseValue(line.substr(value, end - value));
    const GattPath path = server.SetValue(target.service, target.characteristic, bytes);
    Json record{{"event", "value"}};
    path.AddTo(record);
    AddValue(record, bytes);
    console.Report(record, path.Text() + " is now " + FormatValue(bytes));
}

void ReportPeer(const PeerEvent& event, const Console& console)
{
    Json record{{"event", event.what}, {"peer", protocol::AddressText(event.peer)}};
    record.update(event.fields);
    console.Report(record, protocol::AddressText(event.peer) + event.line);
}

void Serve(const std::string& file, std::optional<double> seconds, const Console& console)
{
    const std::vector<ServedService> services = LoadServices(file);
    const LibrarySession session;
    session.RequireBluetooth();
    BtInfo info{};
    Check(GetBtMacAndName(&info), "read the adapter's address");
    EventLoop<ServerEvent> loop(seconds);
    Server server(services);
    console.Report({{"event", "serving"}, {"address", protocol::AddressText(info.mac)}},
                   "Serving under " + protocol::AddressText(info.mac) +
                       ". Lines such as 2A37 0048 set values. Press Ctrl-C to stop.");
    ReadInput();
    while (loop.Continues()) {
        const auto event = loop.Next(kCheckServer);
        if (event && std::holds_alternative<PeerEvent>(*event)) {
            ReportPeer(std::get<PeerEvent>(*event), console);
            continue;
        }
        // Before each line of input as well: lines may come without a pause.
        if (server.RestartIfForgotten()) {
            console.Report({{"event", "restarted"}},
                           "PelaconService was restarted; serving again.");
        }
        if (event) {
            try {
                TakeInput(std::get<InputLine>(*event).text, server, console);
            } catch (const Failure& failure) {
                std::cerr << "pelaconctl: " << failure.what() << '\n';
            }
        }
    }
}

}  // namespace

void AddGattServe(CLI::App& gatt, const Console& console)
{
    const auto file = std::make_shared<std::string>();
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const command = gatt.add_subcommand(
        "serve", "Serve the services of a file, until Ctrl-C; show what peers read and write");
    command->footer(
        "A line on standard input sets a value and notifies the subscribed peers:\n"
        "  2A37 0048            the first characteristic with this UUID, in hexadecimal\n"
        "  180F/2A19 \"high\"     a characteristic of this service, as text\n"
        "The file:\n"
        "  {\"services\": [{\"uuid\": \"180D\", \"characteristics\": [\n"
        "      {\"uuid\": \"2A37\", \"flags\": [\"read\", \"notify\"], \"value\": \"0048\"},\n"
        "      {\"uuid\": \"2A39\", \"flags\": [\"write\"], \"value\": {\"text\": \"on\"}}]}]}\n");
    command->add_option("FILE", *file, "The services, in JSON")->required();
    AddSeconds(*command, *seconds, AboveZero());
    command->callback([&console, file, seconds] { Serve(*file, *seconds, console); });
}

}  // namespace pelacon::ctl
