// A family of operations.
#pragma once

#include <json/Output.h>
#include <protocol/ServiceLink.h>
#include <service/base/Interface.h>
#include <service/base/Scheduler.h>
#include <service/core/IdAllocator.h>
#include <service/core/Router.h>
#include <service/core/Session.h>
#include <service/radio/Radios.h>

#include <memory>
#include <vector>

namespace pelacon::service {

class Commands;

/// What a family uses. All of it outlives the family.
struct Context {
    Scheduler& scheduler;
    Router& router;
    radio::Radios& radios;
    IdAllocator& ids;
    Commands& commands;
};

/// Registers handlers for its operations with the router, controls its radio and notifies clients
/// of what the radio reports. A family is destroyed, with the scheduler's lock held, when the
/// service restarts or ends. All of its members are called with that lock held.
class Family : public Interface {
  public:
    /// A client's event connection is up. A returning client was connected before, possibly to a
    /// service that has ended since, and may rely on registrations that this service does not have.
    virtual void ClientArrived(Session& /*session*/, bool /*returning*/) {}

    /// The client has left. The family drops everything that it holds for the client.
    virtual void ClientLeft(Session& /*session*/) {}

    /// The client holds these ids from before a restart. They are valid for this session from now
    /// on.
    virtual void Repair(Session& /*session*/, const protocol::RepairRequest& /*held*/) {}

    /// Adds the family's state to the answer of the `status` command.
    virtual void Describe(json::Output& /*status*/) const {}
};

/// Creates all families, in the order in which ClientArrived and ClientLeft are called. Defined in
/// families/.
std::vector<std::unique_ptr<Family>> MakeFamilies(Context& context);

}  // namespace pelacon::service
