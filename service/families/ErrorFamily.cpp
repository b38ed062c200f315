#include <service/core/Commands.h>
#include <service/families/ErrorFamily.h>

namespace pelacon::service {

ErrorFamily::ErrorFamily(const Context& context)
{
    context.radios.GetErrors().Observe([this](std::int32_t code) { Notify(code); });
    context.commands.Add(
        "error", "notifies every client of a connection error: code", [this](json::Fields& fields) {
            const auto code = fields.Required("code").Integer<std::int32_t>();
            return [this, code](json::Output& answer) { answer["sent"] = Notify(code); };
        });
}

void ErrorFamily::ClientArrived(Session& session, bool /*returning*/)
{
    clients_.insert(&session);
}

void ErrorFamily::ClientLeft(Session& session)
{
    clients_.erase(&session);
}

std::size_t ErrorFamily::Notify(std::int32_t code) const
{
    std::size_t sent = 0;
    for (Session* session : clients_) {
        sent += session->Notify(protocol::kErrorStatus, {code}) ? 1 : 0;
    }
    return sent;
}

}  // namespace pelacon::service
