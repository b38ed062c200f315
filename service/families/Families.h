// All families of this service.
#pragma once

#include <service/Family.h>

#include <memory>
#include <vector>

namespace pelacon::service {

/// Makes one of each, in the order in which they are told of clients.
std::vector<std::unique_ptr<Family>> MakeFamilies(Context& context);

}  // namespace pelacon::service
