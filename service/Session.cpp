#include <service/Session.h>
#include <service/Trace.h>

namespace pelacon::service {

bool Session::Notify(std::int32_t messageId, std::span<const std::uint8_t> payload,
                     Line::Urgency urgency)
{
    if (!present_) {
        return false;
    }
    const bool sent = line_.Notify(clientId_, messageId, payload, urgency);
    TraceNotification(clientId_, messageId, payload, sent);
    return sent;
}

bool Session::WaitFor(World::Duration time)
{
    world_.Wait(time, [this] { return !present_; });
    return GoesOn();
}

void Session::End()
{
    present_ = false;
    world_.Wake();
}

}  // namespace pelacon::service
