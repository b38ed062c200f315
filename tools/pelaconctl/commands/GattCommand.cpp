// pelaconctl gatt: the services of other devices, and this device's own.
#include <PelaconSDK/PelaconSDK.h>
#include <tools/pelaconctl/GattPeer.h>
#include <tools/pelaconctl/GattText.h>
#include <tools/pelaconctl/commands/Kit.h>

#include <variant>

namespace pelacon::ctl {

namespace {

using protocol::LongText;
using protocol::Uuid;

/// How often a subscription checks its connection while no value comes.
constexpr std::chrono::milliseconds kCheckConnection(250);

/// The options of all commands that connect to a device.
struct PeerOptions {
    std::string address;
    double wait = 30;
};

GattPeer ConnectTo(const PeerOptions& options)
{
    return {ParseAddress(options.address), options.wait};
}

/// The characteristic that a command reads, writes or subscribes to.
struct Target {
    std::string serviceText;
    std::string characteristicText;

    Uuid Service() const { return ParseUuidText(serviceText); }
    Uuid Characteristic() const { return ParseUuidText(characteristicText); }
    std::string Name() const { return FormatUuid(Service()) + "/" + FormatUuid(Characteristic()); }

    Json Record(const GattPeer& peer) const
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
    const GattPeer peer = ConnectTo(options);
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
                   lines + peer.Address() + " was checked for " + std::to_string(uuids.size()) +
                       " known services, as it cannot be asked for a list. Check others with "
                       "--uuid.");
}

void Read(const PeerOptions& options, const Target& target, const Console& console)
{
    const std::string service = LongText(target.Service());
    const std::string characteristic = LongText(target.Characteristic());
    const GattPeer peer = ConnectTo(options);
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
    const GattPeer peer = ConnectTo(options);
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

void ShowValue(const GattNotified& notified, const Target& target, const GattPeer& peer,
               const Console& console)
{
    const auto now = std::chrono::system_clock::now();
    Json record{{"time", FormatTime(now)}};
    record.update(target.Record(peer));
    AddValue(record, notified.value);
    record["indication"] = notified.kind == kBleGattIndication;
    console.Report(record, FormatClock(now) + "  " + FormatValue(notified.value));
}

void Subscribe(const PeerOptions& options, const Target& target, const SubscribeLimits& limits,
               const Console& console)
{
    const std::string service = LongText(target.Service());
    const std::string characteristic = LongText(target.Characteristic());
    const GattPeer peer = ConnectTo(options);
    EventLoop<GattEvent> loop(limits.seconds);
    Check(
        BleGattClient::BleGattClientRegisterNotification(peer.Id(), service, characteristic, true),
        "subscribe to " + target.Name());
    console.Say("Subscribed to " + target.Name() + " of " + peer.Address() +
                ". Press Ctrl-C to stop.");
    std::uint64_t shown = 0;
    while (loop.Continues() && (!limits.count || shown < *limits.count)) {
        const auto event = loop.Next(kCheckConnection);
        if (!event) {
            peer.CheckConnection();
        } else if (const auto* change = std::get_if<GattConnectionChange>(&*event)) {
            peer.FailFor(*change);
        } else {
            ShowValue(std::get<GattNotified>(*event), target, peer, console);
            ++shown;
        }
    }
}

void ShowMtu(const PeerOptions& options, const Console& console)
{
    const GattPeer peer = ConnectTo(options);
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
    AddWait(*command, options->wait, "Seconds to wait for the connection", AboveZero());
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

void AddServices(CLI::App& gatt, const Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto others = std::make_shared<std::vector<std::string>>();
    CLI::App* const command =
        AddPeerCommand(gatt, "services", "Show which of the known services a device has", options);
    command->add_option("--uuid", *others, "Check for this service as well; may be repeated")
        ->allow_extra_args(false);
    command->callback([&console, options, others] { ShowServices(*options, *others, console); });
}

void AddRead(CLI::App& gatt, const Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto target = std::make_shared<Target>();
    CLI::App* const command = AddPeerCommand(gatt, "read", "Read a value", options);
    AddTarget(*command, target);
    command->callback([&console, options, target] { Read(*options, *target, console); });
}

void AddWrite(CLI::App& gatt, const Console& console)
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
                          "A value is missing: give it in hexadecimal, or with --text.");
        }
        Write(*options, *target, ParseValue(asText->count() > 0 ? "\"" + *text + "\"" : *hex),
              console);
    });
}

void AddSubscribe(CLI::App& gatt, const Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    const auto target = std::make_shared<Target>();
    const auto limits = std::make_shared<SubscribeLimits>();
    CLI::App* const command =
        AddPeerCommand(gatt, "subscribe", "Show each new value, until Ctrl-C", options);
    AddTarget(*command, target);
    AddSeconds(*command, limits->seconds, AboveZero());
    command->add_option("--count", limits->count, "End after this many values")->check(AboveZero());
    command->callback(
        [&console, options, target, limits] { Subscribe(*options, *target, *limits, console); });
}

void AddMtu(CLI::App& gatt, const Console& console)
{
    const auto options = std::make_shared<PeerOptions>();
    AddPeerCommand(gatt, "mtu", "Show the MTU of a connection to a device, in bytes", options)
        ->callback([&console, options] { ShowMtu(*options, console); });
}

}  // namespace

void AddGattCommand(CLI::App& program, const Console& console)
{
    CLI::App* const gatt = program.add_subcommand(
        "gatt", "Bluetooth services: read, write and subscribe to values, or serve them");
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
    AddGattServe(*gatt, console);
}

}  // namespace pelacon::ctl
