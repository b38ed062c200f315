#include <service/core/Family.h>

namespace pelacon::service {

void Family::ClientArrived(Session& /*session*/, bool /*returning*/) {}

void Family::ClientLeft(Session& /*session*/) {}

void Family::Repair(Session& /*session*/, const protocol::RepairRequest& /*held*/) {}

void Family::Describe(nlohmann::json& /*status*/) const {}

}  // namespace pelacon::service
