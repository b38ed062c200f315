#include <service/Version.h>
#include <service/base/Log.h>
#include <service/core/Core.h>
#include <service/core/CoreState.h>

#include <charconv>
#include <stdexcept>
#include <string>

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

/// Sends the notification, and releases the lock from time to time. Returns how many were sent.
std::uint64_t Send(Scheduler& scheduler, const Sessions& sessions, const Push& push)
{
    constexpr std::uint64_t kAtOnce = 1000;
    std::uint64_t sent = 0;
    for (const auto& session : Choose(sessions, push.whom)) {
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
    return sent;
}

}  // namespace

void Core::AddCommands(State& state)
{
    state.commands.Add("ping", "the service's version, for every user whom it serves",
                       [](json::Output& answer) { answer["version"] = kVersion; });
    state.commands.Add("status", "what the service does: clients, counters, faults, radios",
                       [this](json::Output& answer) { answer = Status(); });
    state.commands.Add(
        "restart", "drops all connections and forgets everything, as a service that was restarted",
        [this](json::Output&) { Restart(); });
    AddFaultCommands(state.commands);
    AddClientCommands(state.commands);
}

void Core::AddFaultCommands(Commands& commands)
{
    commands.Add(
        "fault.add", "adds a fault: fault (as in a world file)", [this](json::Fields& fields) {
            const auto fault = fields.Required("fault").Object(&ReadFault);
            return [this, fault](json::Output& answer) { answer["number"] = faults_.Add(fault); };
        });
    commands.Add("fault.remove", "ends a fault: number", [this](json::Fields& fields) {
        const auto number = fields.Required("number").Integer<std::uint64_t>();
        return [this, number](json::Output&) {
            if (!faults_.Remove(number)) {
                throw std::runtime_error("there is no fault with this number");
            }
        };
    });
    commands.Add("fault.list", "the faults in force",
                 [this](json::Output& answer) { answer["faults"] = faults_.Describe(); });
    commands.Add("fault.clear", "ends all faults", [this](json::Output&) { faults_.Clear(); });
}

void Core::AddClientCommands(Commands& commands)
{
    const auto send = [this](const Push& push) {
        return [this, push](json::Output& answer) {
            answer["sent"] = Send(scheduler_, state_->sessions, push);
        };
    };
    commands.Add("notify", "sends a notification: id, payload (hexadecimal), client or pid",
                 [send](json::Fields& fields) { return send(ReadPush(fields)); });
    commands.Add("flood",
                 "sends many notifications at once: id, count, payload, droppable, client or pid",
                 [send](json::Fields& fields) {
                     Push push = ReadPush(fields);
                     push.count = fields.Required("count").Integer<std::uint64_t>(1, 1'000'000);
                     fields.Read("droppable", push.urgency, [](const json::Reader& droppable) {
                         return droppable.Bool() ? Transport::Urgency::kDroppable
                                                 : Transport::Urgency::kKept;
                     });
                     return send(push);
                 });
    const auto act = [this](void (Transport::*action)(std::uint64_t clientId),
                            const char* counted) {
        return [=, this](json::Fields& fields) {
            return [=, this, whom = ReadWhom(fields)](json::Output& answer) {
                const auto chosen = Choose(state_->sessions, whom);
                for (const auto& session : chosen) {
                    afterwards_.emplace_back(
                        [=, this, id = session->ClientId()] { (transport_->*action)(id); });
                }
                answer[counted] = chosen.size();
            };
        };
    };
    commands.Add("malformed",
                 "sends bytes that are not a message, as a notification: client or pid",
                 act(&Transport::SendMalformed, "sent"));
    commands.Add("disconnect", "closes the event connection, as if it had failed: client or pid",
                 act(&Transport::Disconnect, "disconnected"));
}

}  // namespace pelacon::service
