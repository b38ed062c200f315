// Operators' commands that act on the simulation.
#include <service/core/Commands.h>
#include <service/simulation/Simulation.h>

#include <nlohmann/json.hpp>

#include <stdexcept>
#include <string>

namespace pelacon::service::simulation {

namespace {

/// The answer of a command that may fail.
nlohmann::json DoneOr(bool done, const char* why)
{
    if (!done) {
        throw std::runtime_error(why);
    }
    return nlohmann::json::object();
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
                     return [&groups, address, ipAddress] {
                         return DoneOr(groups.Join(address, ipAddress),
                                       "there is none, or the station has joined it already");
                     };
                 });
    commands.Add(word + ".leave", "a station leaves the " + name + ": address",
                 [&groups](json::Fields& fields) {
                     const std::uint64_t address = fields.Required("address").Address();
                     return [&groups, address] {
                         return DoneOr(groups.Leave(address), "there is no such station");
                     };
                 });
}

void AddAdapterCommands(Commands& commands, Wifi& wifi, WifiCards& cards)
{
    commands.Add("wifi.connect", "the adapter connects to an access point: ssid, channel",
                 [&wifi](json::Fields& fields) {
                     radio::Wifi::Connection connection;
                     ReadConnection(fields, connection);
                     return [&wifi, connection] {
                         wifi.Connect(connection);
                         return nlohmann::json::object();
                     };
                 });
    commands.Add("wifi.disconnect", "the adapter loses its access point",
                 [&wifi](json::Fields& /*fields*/) {
                     return [&wifi] {
                         wifi.Connect(std::nullopt);
                         return nlohmann::json::object();
                     };
                 });
    commands.Add("wifi.card", "a Wi-Fi card changes: card, state (absent, off, on)",
                 [&cards](json::Fields& fields) {
                     const auto card = fields.Required("card").Integer<std::size_t>(0, 4);
                     const radio::CardState state = ReadCardState(fields.Required("state"));
                     return [&cards, card, state] {
                         return DoneOr(cards.Set(card, state), "there is no place for this card");
                     };
                 });
}

void AddStackCommands(Commands& commands, Stack& stack, Advertiser& advertiser, Scanner& scanner)
{
    commands.Add("stack.set",
                 "how the Bluetooth stack does an operation from now on: operation (switch, "
                 "rename, advertise, scan, showService), ms, fails, endsAfterMs, times",
                 [&stack](json::Fields& fields) {
                     const auto operation = ReadStackOperation(fields.Required("operation"));
                     const StackBehaviour behaviour = ReadStackBehaviour(fields, operation);
                     return [&stack, operation, behaviour] {
                         stack.Set(operation, behaviour);
                         return nlohmann::json::object();
                     };
                 });
    commands.Add(
        "stack.end", "advertising or scans end by themselves: operation (advertise, scan)",
        [&advertiser, &scanner](json::Fields& fields) {
            const bool isScan =
                fields.Required("operation").Choice<bool>({{"advertise", false}, {"scan", true}});
            return [&advertiser, &scanner, isScan] {
                const std::size_t ended = isScan ? scanner.EndAll() : advertiser.EndAll();
                return nlohmann::json{{"ended", ended}};
            };
        });
}

void AddPhoneCommand(Commands& commands, Phone& phone)
{
    commands.Add("phone.channel", "the phone's Wi-Fi connects, or is lost: channel (0: lost)",
                 [&phone](json::Fields& fields) {
                     const auto channel = ReadConnectionChannel(fields.Required("channel"));
                     return [&phone, channel] {
                         phone.Connect(channel);
                         return nlohmann::json::object();
                     };
                 });
}

}  // namespace

void Simulation::AddWifiCommands(Commands& commands)
{
    AddStationCommands(commands, "group", "group", groups_);
    AddStationCommands(commands, "softap", "soft AP", softAp_);
    AddPhoneCommand(commands, phone_);
    AddAdapterCommands(commands, wifi_, wifiCards_);
}

void Simulation::AddCommands(Commands& commands)
{
    AddWifiCommands(commands);
    AddStackCommands(commands, stack_, advertiser_, scanner_);
}

}  // namespace pelacon::service::simulation
