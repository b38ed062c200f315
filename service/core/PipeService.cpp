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
        core_.Stop();  // whoever connected already waits for it
        throw;
    }
}

// What blocks in the core ends first, as the server waits for it. Sessions use the server to their
// end, so it goes last.
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
