#include <service/core/PipeService.h>

#include <utility>

namespace pelacon::service {

PipeService::PipeService(const std::wstring& pipeName, Settings settings)
    : core_(std::move(settings))
{
    try {
        server_ = std::make_unique<IPCMessageServer>(pipeName, core_);
        core_.Start(*this, server_->StateFile());
    } catch (...) {
        core_.Stop();  // threads of clients that connected already wait for the core
        throw;
    }
}

// Calls that block in the core must end first, since the server's destructor waits for them.
// Sessions use the server until then.
PipeService::~PipeService()
{
    core_.Stop();
}

bool PipeService::Notify(std::uint64_t clientId, std::int32_t messageId,
                         std::span<const std::uint8_t> payload, Urgency urgency)
{
    return server_->Notify(clientId, messageId, payload, urgency);
}

}  // namespace pelacon::service
