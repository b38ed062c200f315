#include <service/core/Commands.h>
#include <service/families/ErrorFamily.h>

#include <nlohmann/json.hpp>

namespace pelacon::service {

ErrorFamily::ErrorFamily(const Context& context)
{
    context.radios.GetErrors().Observe([this](std::int32_t code) { Tell(code); });
    context.commands.Add(
        "error", "tells every client of a connection error: code", [this](json::Fields& fields) {
            const auto code = fields.Required("code").Integer<std::int32_t>();
            return [this, code]() -> nlohmann::json { return {{"sent", Tell(code)}}; };
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

std::size_t ErrorFamily::Tell(std::int32_t code) const
{
    std::size_t told = 0;
    for (Session* session : clients_) {
        told += session->Notify(protocol::kErrorStatus, {code}) ? 1 : 0;
    }
    return told;
}

}  // namespace pelacon::service
