#include <service/core/PipeService.h>

#include <utility>

namespace pelacon::service {

PipeService::PipeService(const std::wstring& pipeName, Settings settings)
    : core_(std::move(settings))
{
    try {
        server_ = std::make_unique<IPCMessageServer>(pipeName, core_);
        core_.Start(*server_, server_->StateFile());
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

}  // namespace pelacon::service
