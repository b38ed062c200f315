// Operators' commands that act on the simulation.
#include <service/core/Commands.h>
#include <service/simulation/Simulation.h>

#include <stdexcept>
#include <string>

namespace pelacon::service::simulation {

namespace {

void Require(bool done, const char* why)
{
    if (!done) {
        throw std::runtime_error(why);
    }
}

/// Adds the commands of groups or of the soft AP, which begin with this word.
void AddStationCommands(Commands& commands, const std::string& word, const std::string& name,
                        Groups& groups)
{
    commands.Add(word + ".join", "a station joins the " + name + ": address, ipAddress",
                 [&groups](json::Fields& fields) {
                     const std::uint64_t address = fields.Required("address").Address();
                     std::optional<std::string> ipAddress;
                     fields.Read("ipAddress", ipAddress, &ReadIpAddress);
                     return [&groups, address, ipAddress](json::Output&) {
                         Require(groups.Join(address, ipAddress),
                                 "there is none, or the station has joined it already");
                     };
                 });
    commands.Add(word + ".leave", "a station leaves the " + name + ": address",
                 [&groups](json::Fields& fields) {
                     const std::uint64_t address = fields.Required("address").Address();
                     return [&groups, address](json::Output&) {
                         Require(groups.Leave(address), "there is no such station");
                     };
                 });
}

void AddAdapterCommands(Commands& commands, Wifi& wifi, WifiCards& cards)
{
    commands.Add("wifi.connect", "the adapter connects to an access point: ssid, channel",
                 [&wifi](json::Fields& fields) {
                     radio::Wifi::Connection connection;
                     ReadConnection(fields, connection);
                     return [&wifi, connection](json::Output&) { wifi.Connect(connection); };
                 });
    commands.Add("wifi.disconnect", "the adapter loses its access point",
                 [&wifi](json::Output&) { wifi.Connect(std::nullopt); });
    commands.Add("wifi.card", "a Wi-Fi card changes: card, state (absent, off, on)",
                 [&cards](json::Fields& fields) {
                     const auto card = fields.Required("card").Integer<std::size_t>(0, 4);
                     const radio::CardState state = ReadCardState(fields.Required("state"));
                     return [&cards, card, state](json::Output&) {
                         Require(cards.Set(card, state), "there is no place for this card");
                     };
                 });
}

void AddPhoneCommands(Commands& commands, Phone& phone)
{
    commands.Add("phone.channel", "the phone's Wi-Fi connects, or is lost: channel (0: lost)",
                 [&phone](json::Fields& fields) {
                     const auto channel = ReadConnectionChannel(fields.Required("channel"));
                     return [&phone, channel](json::Output&) { phone.Connect(channel); };
                 });
}

void AddStackCommands(Commands& commands, Stack& stack, Simulation::Parts parts)
{
    commands.Add("stack.set",
                 "how the stack does an operation from now on: operation (switch, rename, "
                 "advertise, scan, showService; switchWifi, createGroup, moveGroup), ms, fails, "
                 "endsAfterMs, times",
                 [&stack, parts](json::Fields& fields) {
                     const json::Reader name = fields.Required("operation");
                     const auto operation = ReadStackOperation(name);
                     if (!(IsOfWifi(operation) ? parts.wifi : parts.bluetooth)) {
                         name.Fail("is what a real radio does");
                     }
                     const StackBehaviour behaviour = ReadStackBehaviour(fields, operation);
                     return [&stack, operation, behaviour](json::Output&) {
                         stack.Set(operation, behaviour);
                     };
                 });
}

void AddEndCommand(Commands& commands, Advertiser& advertiser, Scanner& scanner)
{
    commands.Add(
        "stack.end", "advertising or scans end by themselves: operation (advertise, scan)",
        [&advertiser, &scanner](json::Fields& fields) {
            const bool isScan =
                fields.Required("operation").Choice<bool>({{"advertise", false}, {"scan", true}});
            return [&advertiser, &scanner, isScan](json::Output& answer) {
                answer["ended"] = isScan ? scanner.EndAll() : advertiser.EndAll();
            };
        });
}

}  // namespace

void Simulation::AddCommandsOf(Commands& commands, Parts parts)
{
    AddPhoneCommands(commands, phone_);
    if (parts.wifi) {
        AddStationCommands(commands, "group", "group", groups_);
        AddStationCommands(commands, "softap", "soft AP", softAp_);
        AddAdapterCommands(commands, wifi_, wifiCards_);
    }
    if (parts.bluetooth) {
        AddEndCommand(commands, advertiser_, scanner_);
    }
    if (parts.bluetooth || parts.wifi) {
        AddStackCommands(commands, stack_, parts);
    }
}

}  // namespace pelacon::service::simulation
