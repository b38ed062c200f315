// The service and its pipe.
#pragma once

#include <IPCMessage/IPCMessageServer.h>
#include <service/core/Core.h>

#include <memory>
#include <string>

namespace pelacon::service {

/// Serves a pipe while it exists.
class PipeService {
  public:
    /// Throws IPCServerError and IdError.
    PipeService(const std::wstring& pipeName, Settings settings);
    ~PipeService();
    PipeService(const PipeService&) = delete;
    PipeService& operator=(const PipeService&) = delete;

    /// Where it listens, as text for people.
    const std::string& Address() const { return server_->Address(); }

  private:
    Core core_;
    std::unique_ptr<IPCMessageServer> server_;  // destroyed first: its threads use the core
};

}  // namespace pelacon::service
