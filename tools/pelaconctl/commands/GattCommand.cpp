// pelaconctl gatt: other devices' services, and one's own.
#include <PelaconSDK/PelaconSDK.h>
#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/Console.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/Interrupt.h>
#include <tools/pelaconctl/Mailbox.h>
#include <tools/pelaconctl/OptionValues.h>
#include <tools/pelaconctl/ServiceWatch.h>
#include <tools/pelaconctl/Session.h>
#include <tools/pelaconctl/Text.h>
#include <tools/pelaconctl/commands/Commands.h>
#include <tools/pelaconctl/commands/GattServe.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace pelacon::ctl {

namespace {

using Bytes = std::vector<std::uint8_t>;
using Json = nlohmann::ordered_json;
using protocol::LongText;
using protocol::Uuid;

/// How long nothing may be told before it is seen whether the connection is still known.
constexpr std::chrono::milliseconds kLookAtConnection(250);

/// What all commands that connect to a device share.
struct PeerOptions {
    std::string address;
    double wait = 30;
};

struct ConnectionState {
    std::int32_t state;
    std::int32_t reason;
};
struct Notified {
    Bytes value;
    std::int32_t kind;
};
using GattEvent = std::variant<ConnectionState, Notified>;

Mailbox<GattEvent>& GattEvents()
{
    static auto& events = *new Mailbox<GattEvent>;
    return events;
}

BtGattClientCallbacksC& ClientTable()
{
    static BtGattClientCallbacksC table{
        [](std::int32_t, std::int32_t state, std::int32_t reason) {
            GattEvents().Post(ConnectionState{state, reason});
        },
        [](std::int32_t, const char*, const char*, const std::uint8_t* data, std::uint32_t dataLen,
           std::int32_t kind) {
            GattEvents().Post(Notified{{data, data + dataLen}, kind});
        }};
    return table;
}

std::string EndReason(const std::string& address, std::int32_t reason)
{
    switch (reason) {
        case kBleGattReasonTimeout:
            return address + " is not heard any more.";
        case kBleGattReasonRefused:
            return address + " refused the connection.";
        case kBleGattReasonPeer:
            return address + " ended the connection.";
        case kBleGattReasonLocal:
            return "The connection to " + address + " was ended on this side: is Bluetooth on?";
        case kBleGattReasonNotEstablished:
            return "No device with the address " + address + " was found.";
        default:
            return "There is no connection to " + address + " (reason " + std::to_string(reason) +
                   ").";
    }
}

/// A device that is connected as long as this lives, its services searched.
class Peer {
  public:
    explicit Peer(const PeerOptions& options) : address_(ParseAddress(options.address))
    {
        session_.RequireBluetooth();
        Check(BleGattClientRegister(&id_), "become a GATT client");
        Connect(After(options.wait));
        Check(BleGattClientSearchServices(id_), "search the services of " + Address());
    }
    ~Peer() { BleGattClientUnRegister(id_); }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    std::int32_t Id() const { return id_; }
    std::string Address() const { return FormatAddress(address_); }

    /// Whether the device has this service.
    bool HasService(const Uuid& service) const
    {
        const BleStatusC status = BleGattClient::BleGattClientGetService(id_, LongText(service));
        if (std::int32_t{status} == protocol::kStatusNotFound) {
            return false;
        }
        Check(status, "look for service " + FormatUuid(service));
        return true;
    }

    std::int32_t Mtu() const
    {
        std::int32_t mtu = 0;
        Check(BleGattClientGetMtu(id_, &mtu), "read the MTU");
        return mtu;
    }

    /// Throws Failure when the service has forgotten the connection: it was restarted.
    void CheckThatItLasts() const
    {
        std::int32_t mtu = 0;
        if (std::int32_t{BleGattClientGetMtu(id_, &mtu)} == protocol::kStatusUnknownId) {
            throw Failure(ExitStatus::kNoService,
                          "PelaconService was restarted; the connection is gone.");
        }
    }

    [[noreturn]] void FailFor(const ConnectionState& end) const
    {
        throw Failure(ExitStatus::kFailed, EndReason(Address(), end.reason));
    }

  private:
    void Connect(std::optional<Deadline> deadline)
    {
        Check(BleGattClientConnect(id_, address_, &ClientTable()), "connect to " + Address());
        const auto event = GattEvents().Next(deadline);
        if (!event) {
            throw Failure(ExitStatus::kNoAnswer, Address() + " did not answer in time.");
        }
        const auto& outcome = std::get<ConnectionState>(*event);
        if (outcome.state != kBleGattConnected) {
            FailFor(outcome);
        }
    }

    std::uint64_t address_;
    Session session_;
    std::int32_t id_ = 0;
};

/// A characteristic that a command is about.
struct Target {
    std::string serviceText;
    std::string characteristicText;

    Uuid Service() const { return ParseUuidText(serviceText); }
    Uuid Characteristic() const { return ParseUuidText(characteristicText); }
    std::string Name() const { return FormatUuid(Service()) + "/" + FormatUuid(Characteristic()); }

    Json Record(const Peer& peer) const
    {
        Json record{{"address", peer.Address()}};
        AddUuid(record, "service", Service());
        AddUuid(record, "characteristic", Characteristic());
        return record;
    }
};

void ShowServices(const PeerOptions& options, const std::vector<std::string>& others,
                  const Console& console)
{
    std::vector<Uuid> uuids = NamedServices();
    for (const std::string& other : others) {
        const Uuid uuid = ParseUuidText(other);
        if (std::ranges::find(uuids, uuid) == uuids.end()) {
            uuids.push_back(uuid);
        }
    }
    const Peer peer(options);
    Json services = Json::array();
    std::string lines;
    for (const Uuid& uuid : uuids) {
        if (!peer.HasService(uuid)) {
            continue;
        }
        const std::string name(ServiceName(uuid));
        Json& service = services.emplace_back();
        AddUuid(service, "uuid", uuid);
        service["name"] = name.empty() ? Json() : Json(name);
        lines += FormatUuid(uuid) + (name.empty() ? "" : "  " + name) + "\n";
    }
    if (services.empty()) {
        lines = "No service was found.\n";
    }
    console.Report({{"address", peer.Address()}, {"asked", uuids.size()}, {"services", services}},
                   lines + peer.Address() + " was asked for " + std::to_string(uuids.size()) +
                       " services: it cannot be asked for a list. Name others with --uuid.");
}

void Read(const PeerOptions& options, const Target& target, const Console& console)
{
    const std::string service = LongText(target.Service());
    const std::string characteristic = LongText(target.Characteristic());
    const Peer peer(options);
    Bytes value;
    Check(
        BleGattClient::BleGattClientReadCharacteristic(peer.Id(), service, characteristic, &value),
        "read " + target.Name());
    Json record = target.Record(peer);
    AddValue(record, value);
    console.Report(record, FormatValue(value));
}

void Write(const PeerOptions& options, const Target& target, const Bytes& value,
           const Console& console)
{
    const std::string service = LongText(target.Service());
    const std::string characteristic = LongText(target.Characteristic());
    const Peer peer(options);
    Check(
        BleGattClient::BleGattClientWriteCharacteristic(peer.Id(), service, characteristic, value),
        "write " + target.Name());
    Json record = target.Record(peer);
    AddValue(record, value);
    console.Report(record, target.Name() + " is now " + FormatValue(value));
}

struct SubscribeLimits {
    std::optional<double> seconds;
    std::optional<std::uint64_t> count;
};

void Subscribe(const PeerOptions& options, const Target& target, const SubscribeLimits& limits,
               const Console& console)
{
    const std::string service = LongText(target.Service());
    const std::string characteristic = LongText(target.Characteristic());
    const Peer peer(options);
    const UntilInterrupt interrupt([] { GattEvents().Close(); });
    Check(
        BleGattClient::BleGattClientRegisterNotification(peer.Id(), service, characteristic, true),
        "subscribe to " + target.Name());
    console.Say("Subscribed to " + target.Name() + " of " + peer.Address() + ". Ctrl-C ends it.");
    const auto end = After(limits.seconds);
    ServiceWatch watch;
    std::uint64_t seen = 0;
    while (!interrupt.Happened() && (!end || ServiceWatch::Clock::now() < *end) &&
           (!limits.count || seen < *limits.count)) {
        const auto soon = ServiceWatch::Clock::now() + kLookAtConnection;
        const auto event = GattEvents().Next(end ? std::min(*end, soon) : soon);
        if (!event) {
            watch.Look();
            peer.CheckThatItLasts();
            continue;
        }
        if (const auto* state = std::get_if<ConnectionState>(&*event)) {
            peer.FailFor(*state);
        }
        const auto& notified = std::get<Notified>(*event);
        const auto now = std::chrono::system_clock::now();
        Json record{{"time", FormatTime(now)}};
        record.update(target.Record(peer));
        AddValue(record, notified.value);
        record["indication"] = notified.kind == kBleGattIndication;
        console.Report(record, FormatClock(now) + "  " + FormatValue(notified.value));
        ++seen;
    }
}

void ShowMtu(const PeerOptions& options, const Console& console)
{
    const Peer peer(options);
    const std::int32_t mtu = peer.Mtu();
    console.Report({{"address", peer.Address()}, {"mtu", mtu}}, std::to_string(mtu));
}

// ---- The command line

/// A subcommand that connects to a device.
CLI::App* AddPeerCommand(CLI::App& gatt, const std::string& name, const std::string& description,
                         const std::shared_ptr<PeerOptions>& options)
{
    CLI::App* const command = gatt.add_subcommand(name, description);
    command->add_option("ADDRESS", options->address, "The device, such as 5C:F3:70:8B:12:34")
        ->required();
    command->add_option("--wait", options->wait, "Seconds to wait for the connection")
        ->capture_default_str()
        ->check(AboveZero());
    return command;
}

void AddTarget(CLI::App& command, const std::shared_ptr<Target>& target)
{
    command.add_option("SERVICE", target->serviceText, "The service's UUID, such as 180D")
        ->required();
    command
        .add_option("CHARACTERISTIC", target->characteristicText,
                    "The characteristic's UUID, such as 2A37")
        ->required();
}

void AddServices(CLI::App& gatt, Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto others = std::make_shared<std::vector<std::string>>();
    CLI::App* const command =
        AddPeerCommand(gatt, "services", "Find out which services a device has", options);
    command->add_option("--uuid", *others, "Ask for this one, too; may be repeated")
        ->allow_extra_args(false);
    command->callback([&console, options, others] { ShowServices(*options, *others, console); });
}

void AddRead(CLI::App& gatt, Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto target = std::make_shared<Target>();
    CLI::App* const command = AddPeerCommand(gatt, "read", "Read a value", options);
    AddTarget(*command, target);
    command->callback([&console, options, target] { Read(*options, *target, console); });
}

void AddWrite(CLI::App& gatt, Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto target = std::make_shared<Target>();
    const auto hex = std::make_shared<std::string>();
    const auto text = std::make_shared<std::string>();
    CLI::App* const command = AddPeerCommand(gatt, "write", "Write a value", options);
    AddTarget(*command, target);
    CLI::Option* const value = command->add_option("VALUE", *hex, "The value in hexadecimal");
    CLI::Option* const asText = command->add_option("--text", *text, "The value as text");
    asText->excludes(value);
    command->callback([&console, options, target, hex, text, value, asText] {
        if (value->count() + asText->count() == 0) {
            throw Failure(ExitStatus::kUsage,
                          "There is no value: give it in hexadecimal, or with --text.");
        }
        Write(*options, *target, ParseValue(asText->count() > 0 ? "\"" + *text + "\"" : *hex),
              console);
    });
}

void AddSubscribe(CLI::App& gatt, Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto target = std::make_shared<Target>();
    const auto limits = std::make_shared<SubscribeLimits>();
    CLI::App* const command =
        AddPeerCommand(gatt, "subscribe", "Show each new value, until Ctrl-C", options);
    AddTarget(*command, target);
    command->add_option("--seconds", limits->seconds, "End after so many seconds")
        ->check(AboveZero());
    command->add_option("--count", limits->count, "End after so many values")->check(AboveZero());
    command->callback(
        [&console, options, target, limits] { Subscribe(*options, *target, *limits, console); });
}

void AddMtu(CLI::App& gatt, Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    AddPeerCommand(gatt, "mtu", "Show the MTU of a connection, in bytes", options)
        ->callback([&console, options] { ShowMtu(*options, console); });
}

void AddServe(CLI::App& gatt, Console& console)
{
    const auto file = std::make_shared<std::string>();
    const auto seconds = std::make_shared<std::optional<double>>();
    CLI::App* const command = gatt.add_subcommand(
        "serve", "Serve what a file describes, until Ctrl-C; show what peers read and write");
    command->footer(
        "A line on standard input sets a value, and tells those that subscribed to it:\n"
        "  2A37 0048            the first characteristic with this UUID, in hexadecimal\n"
        "  180F/2A19 \"high\"     the one of this service, as text\n"
        "The file:\n"
        "  {\"services\": [{\"uuid\": \"180D\", \"characteristics\": [\n"
        "      {\"uuid\": \"2A37\", \"flags\": [\"read\", \"notify\"], \"value\": \"0048\"},\n"
        "      {\"uuid\": \"2A39\", \"flags\": [\"write\"], \"value\": {\"text\": \"on\"}}]}]}\n");
    command->add_option("FILE", *file, "The services, in JSON")->required();
    command->add_option("--seconds", *seconds, "End after so many seconds")->check(AboveZero());
    command->callback([&console, file, seconds] { ServeGatt(*file, *seconds, console); });
}

}  // namespace

void AddGattCommand(CLI::App& program, Console& console)
{
    CLI::App* const gatt = program.add_subcommand(
        "gatt", "Bluetooth services: read, write and subscribe to other devices', serve one's own");
    gatt->require_subcommand(1);
    gatt->footer(
        "Examples:\n"
        "  pelaconctl gatt services C0:00:00:00:00:02\n"
        "  pelaconctl gatt read C0:00:00:00:00:02 180D 2A38\n"
        "  pelaconctl gatt write C0:00:00:00:00:02 180D 2A39 01\n"
        "  pelaconctl gatt subscribe C0:00:00:00:00:02 180D 2A37 --json\n"
        "  pelaconctl gatt serve heart-rate.json\n");
    AddServices(*gatt, console);
    AddRead(*gatt, console);
    AddWrite(*gatt, console);
    AddSubscribe(*gatt, console);
    AddMtu(*gatt, console);
    AddServe(*gatt, console);
}

}  // namespace pelacon::ctl
