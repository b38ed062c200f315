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

/// The options of the commands that connect to a device; each has some of them.
struct PeerOptions {
    std::string address;
    double wait = 30;
    std::string service;
    std::string characteristic;
    std::vector<std::string> otherServices;
    std::string hex;
    std::string text;
    std::optional<double> seconds;
    std::optional<std::uint64_t> count;
};

GattPath PathOf(const PeerOptions& options)
{
    return GattPath::Parse(options.service, options.characteristic);
}

GattPeer ConnectTo(const PeerOptions& options)
{
    return {ParseAddress(options.address), options.wait};
}

Json RecordOf(const GattPeer& peer, const GattPath& path)
{
    Json record{{"address", peer.Address()}};
    path.AddTo(record);
    return record;
}

void ShowServices(const PeerOptions& options, const Console& console)
{
    std::vector<Uuid> uuids = NamedServices();
    for (const std::string& other : options.otherServices) {
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

void Read(const PeerOptions& options, const Console& console)
{
    const GattPath path = PathOf(options);
    const GattPeer peer = ConnectTo(options);
    Bytes value;
    Check(BleGattClient::BleGattClientReadCharacteristic(peer.Id(), LongText(path.service),
                                                         LongText(path.characteristic), &value),
          "read " + path.Text());
    Json record = RecordOf(peer, path);
    AddValue(record, value);
    console.Report(record, FormatValue(value));
}

void Write(const PeerOptions& options, const Bytes& value, const Console& console)
{
    const GattPath path = PathOf(options);
    const GattPeer peer = ConnectTo(options);
    Check(BleGattClient::BleGattClientWriteCharacteristic(peer.Id(), LongText(path.service),
                                                          LongText(path.characteristic), value),
          "write " + path.Text());
    Json record = RecordOf(peer, path);
    AddValue(record, value);
    console.Report(record, path.Text() + " is now " + FormatValue(value));
}

void ShowValue(const GattNotified& notified, const GattPath& path, const GattPeer& peer,
               const Console& console)
{
    const auto now = std::chrono::system_clock::now();
    Json record{{"time", FormatTime(now)}};
    record.update(RecordOf(peer, path));
    AddValue(record, notified.value);
    record["indication"] = notified.kind == kBleGattIndication;
    console.Report(record, FormatClock(now) + "  " + FormatValue(notified.value));
}

void Subscribe(const PeerOptions& options, const Console& console)
{
    const GattPath path = PathOf(options);
    const GattPeer peer = ConnectTo(options);
    EventLoop<GattEvent> loop(options.seconds);
    Check(BleGattClient::BleGattClientRegisterNotification(peer.Id(), LongText(path.service),
                                                           LongText(path.characteristic), true),
          "subscribe to " + path.Text());
    console.Say("Subscribed to " + path.Text() + " of " + peer.Address() +
                ". Press Ctrl-C to stop.");
    std::uint64_t shown = 0;
    while (loop.Continues() && (!options.count || shown < *options.count)) {
        const auto event = loop.Next(kCheckConnection);
        if (!event) {
            peer.CheckConnection();
        } else if (const auto* change = std::get_if<GattConnectionChange>(&*event)) {
            peer.FailFor(*change);
        } else {
            ShowValue(std::get<GattNotified>(*event), path, peer, console);
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

void AddPath(CLI::App& command, PeerOptions& options)
{
    command.add_option("SERVICE", options.service, "The service's UUID, such as 180D")->required();
    command
        .add_option("CHARACTERISTIC", options.characteristic,
                    "The characteristic's UUID, such as 2A37")
        ->required();
}

void AddPeerCommands(CLI::App& gatt, const Console& console)
{
    const auto options = std::make_shared<PeerOptions>();  // only one of these commands is run
    const auto add = [&](const char* name, const char* description,
                         void (*run)(const PeerOptions&, const Console&)) {
        CLI::App* const command = gatt.add_subcommand(name, description);
        command->add_option("ADDRESS", options->address, "The device, such as 5C:F3:70:8B:12:34")
            ->required();
        AddWait(*command, options->wait, "Seconds to wait for the connection", AboveZero());
        command->callback([&console, options, run] { run(*options, console); });
        return command;
    };
    add("services", "Show which of the known services a device has", &ShowServices)
        ->add_option("--uuid", options->otherServices,
                     "Check for this service as well; may be repeated")
        ->allow_extra_args(false);

    AddPath(*add("read", "Read a value", &Read), *options);

    CLI::App* const write = add("write", "Write a value", nullptr);
    AddPath(*write, *options);
    CLI::Option* const hex = write->add_option("VALUE", options->hex, "The value in hexadecimal");
    CLI::Option* const text = write->add_option("--text", options->text, "The value as text");
    text->excludes(hex);
    write->callback([&console, options, hex, text] {
        if (hex->count() + text->count() == 0) {
            throw Failure(ExitStatus::kUsage,
                          "A value is missing: give it in hexadecimal, or with --text.");
        }
        Write(*options, ParseValue(text->count() > 0 ? "\"" + options->text + "\"" : options->hex),
              console);
    });

    CLI::App* const subscribe = add("subscribe", "Show each new value, until Ctrl-C", &Subscribe);
    AddPath(*subscribe, *options);
    AddSeconds(*subscribe, options->seconds, AboveZero());
    subscribe->add_option("--count", options->count, "End after this many values")
        ->check(AboveZero());

    add("mtu", "Show the MTU of a connection to a device, in bytes", &ShowMtu);
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
    AddPeerCommands(*gatt, console);
    AddGattServe(*gatt, console);
}

}  // namespace pelacon::ctl
