// A family of operations: what it does for the protocol, and what it holds for each client.
#pragma once

#include <protocol/ServiceLink.h>
#include <service/base/Interface.h>
#include <service/base/Scheduler.h>
#include <service/core/IdAllocator.h>
#include <service/core/Router.h>
#include <service/core/Session.h>
#include <service/radio/Radios.h>

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <vector>

namespace pelacon::service {

class Commands;

/// What a family works with. All of it outlives the family.
struct Context {
    Scheduler& scheduler;
    Router& router;
    radio::Radios& radios;
    IdAllocator& ids;
    Commands& commands;
};

/// Serves its operations by handlers that its constructor gives to the router, drives its radio,
/// and tells clients what the radio reports. It lives until the service restarts or ends; then it
/// and all that it holds are destroyed, under the world's lock, as is all else here.
class Family : public Interface {
  public:
    /// A client's event connection is up. One that returns was connected before, perhaps to a
    /// service that has ended since, and may have asked for things that are forgotten.
    virtual void ClientArrived(Session& session, bool returning);

    /// The client is gone: so is everything that the family holds for it.
    virtual void ClientLeft(Session& session);

    /// The client still holds these ids from before a restart: they are known again from now on.
    virtual void Repair(Session& session, const protocol::RepairRequest& held);

    /// Adds what an operator may want to know to the answer of the `status` command.
    virtual void Describe(nlohmann::json& status) const;
};

/// Makes one of each family, in the order in which their ClientArrived and ClientLeft are called.
/// Defined in families/.
std::vector<std::unique_ptr<Family>> MakeFamilies(Context& context);

}  // namespace pelacon::service
