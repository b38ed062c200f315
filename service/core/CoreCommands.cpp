#include <service/base/Log.h>
#include <service/core/Core.h>
#include <service/core/CoreState.h>
#include <service/core/Trace.h>

#include <nlohmann/json.hpp>

#include <charconv>
#include <stdexcept>
#include <string>
#include <utility>

namespace pelacon::service {

namespace {

constexpr std::size_t kLargestPayload = 64UL * 1024;

/// The clients that a command is about.
struct Whom {
    std::optional<std::uint64_t> client;
    std::optional<std::uint32_t> processId;
};

Whom ReadWhom(json::Fields& fields)
{
    Whom whom;
    fields.Read("client", whom.client, 1, INT64_MAX);
    fields.Read("pid", whom.processId, 1);
    return whom;
}

/// The chosen clients; all clients if the command names none.
std::vector<std::shared_ptr<Session>> Choose(const Sessions& sessions, const Whom& whom)
{
    std::vector<std::shared_ptr<Session>> chosen;
    for (const auto& session : sessions.Present()) {
        if ((!whom.client || *whom.client == session->ClientId()) &&
            (!whom.processId || *whom.processId == session->ProcessId())) {
            chosen.push_back(session);
        }
    }
    if (chosen.empty() && (whom.client || whom.processId)) {
        throw std::runtime_error("there is no such client");
    }
    return chosen;
}

/// Reads a notification's name or id.
std::int32_t ReadNotificationId(const json::Reader& reader)
{
    if (!reader.IsText()) {
        return reader.Integer<std::int32_t>(1);
    }
    const std::string text = reader.Text(1, 64);
    const protocol::CatalogueEntry* const entry = protocol::FindByName(text);
    if (entry != nullptr && !entry->IsSentToService()) {
        return entry->id;
    }
    std::int32_t id = 0;
    const char* const end = text.data() + text.size();
    if (text.starts_with("0x") && std::from_chars(text.data() + 2, end, id, 16).ptr == end &&
        id > 0) {
        return id;
    }
    reader.Fail("must be a notification's name, or its id such as \"0xD80062\"");
}

/// A notification to send, and its receivers.
struct Push {
    std::int32_t id = 0;
    Bytes payload;
    Whom whom;
    std::uint64_t count = 1;
    Transport::Urgency urgency = Transport::Urgency::kKept;
};

Push ReadPush(json::Fields& fields)
{
    Push push;
    push.id = ReadNotificationId(fields.Required("id"));
    if (const auto payload = fields.Optional("payload")) {
        push.payload = payload->Hex(0, kLargestPayload);
    } else if (const auto* entry = protocol::FindNotification(push.id)) {
        push.payload.resize(entry->size);
    }
    push.whom = ReadWhom(fields);
    return push;
}

/// Sends the notification to these sessions, and releases the lock from time to time.
nlohmann::json Send(Scheduler& scheduler, const std::vector<std::shared_ptr<Session>>& sessions,
                    const Push& push)
{
    constexpr std::uint64_t kAtOnce = 1000;
    std::uint64_t sent = 0;
    for (const std::shared_ptr<Session>& session : sessions) {
        for (std::uint64_t i = 1; i <= push.count && session->IsPresent(); ++i) {
            sent += session->Notify(push.id, push.payload, push.urgency) ? 1 : 0;
            if (i % kAtOnce == 0) {
                scheduler.Pause();
                if (scheduler.IsStopping()) {
                    break;
                }
            }
        }
    }
    return {{"sent", sent}};
}

}  // namespace

void Core::AddCommands(State& state)
{
    state.commands.Add("ping", "nothing but an answer",
                       [](json::Fields&) { return [] { return nlohmann::json::object(); }; });
    state.commands.Add("status", "what the service does: clients, counters, faults, radios",
                       [this](json::Fields&) { return [this] { return Status(); }; });
    state.commands.Add(
        "restart", "drops all connections and forgets everything, as a service that was restarted",
        [this](json::Fields&) {
            return [this] {
                Restart();
                return nlohmann::json::object();
            };
        });
    AddFaultCommands(state.commands);
    AddClientCommands(state.commands);
}

void Core::AddFaultCommands(Commands& commands)
{
    commands.Add("fault.add", "puts a fault in force: fault (as in a world file)",
                 [this](json::Fields& fields) {
                     const auto fault = fields.Required("fault").Object(&ReadFault);
                     return [this, fault]() -> nlohmann::json {
                         return {{"number", faults_.Add(fault)}};
                     };
                 });
    commands.Add("fault.remove", "ends a fault: number", [this](json::Fields& fields) {
        const auto number = fields.Required("number").Integer<std::uint64_t>();
        return [this, number] {
            if (!faults_.Remove(number)) {
                throw std::runtime_error("there is no fault with this number");
            }
            return nlohmann::json::object();
        };
    });
    commands.Add("fault.list", "the faults in force", [this](json::Fields&) {
        return [this]() -> nlohmann::json { return {{"faults", faults_.Describe()}}; };
    });
    commands.Add("fault.clear", "ends all faults", [this](json::Fields&) {
        return [this] {
            faults_.Clear();
            return nlohmann::json::object();
        };
    });
}

void Core::AddClientCommands(Commands& commands)
{
    commands.Add("notify", "sends a notification: id, payload (hexadecimal), client or pid",
                 [this](json::Fields& fields) {
                     const Push push = ReadPush(fields);
                     return [this, push] {
                         return Send(scheduler_, Choose(state_->sessions, push.whom), push);
                     };
                 });
    commands.Add("flood",
                 "sends many notifications at once: id, count, payload, droppable, client or pid",
                 [this](json::Fields& fields) {
                     Push push = ReadPush(fields);
                     push.count = fields.Required("count").Integer<std::uint64_t>(1, 1'000'000);
                     if (const auto droppable = fields.Optional("droppable")) {
                         push.urgency = droppable->Bool() ? Transport::Urgency::kDroppable
                                                          : Transport::Urgency::kKept;
                     }
                     return [this, push] {
                         return Send(scheduler_, Choose(state_->sessions, push.whom), push);
                     };
                 });
    commands.Add("malformed", "sends bytes that are no message, as a notification: client or pid",
                 [this](json::Fields& fields) {
                     const Whom whom = ReadWhom(fields);
                     return [this, whom]() -> nlohmann::json {
                         const auto chosen = Choose(state_->sessions, whom);
                         for (const auto& session : chosen) {
                             afterwards_.emplace_back([this, id = session->ClientId()] {
                                 transport_->SendMalformed(id);
                             });
                         }
                         return {{"sent", chosen.size()}};
                     };
                 });
    commands.Add("disconnect", "closes the event connection, as if it had failed: client or pid",
                 [this](json::Fields& fields) {
                     const Whom whom = ReadWhom(fields);
                     return [this, whom]() -> nlohmann::json {
                         const auto chosen = Choose(state_->sessions, whom);
                         for (const auto& session : chosen) {
                             afterwards_.emplace_back(
                                 [this, id = session->ClientId()] { transport_->Disconnect(id); });
                         }
                         return {{"disconnected", chosen.size()}};
                     };
                 });
}

}  // namespace pelacon::service
