// Setting the adapter's name, as both forms of it do: only the C form has a length that may be
// wrong.
#pragma once

#include <PelaconSDK/BleManager.h>

#include <string_view>

namespace pelacon {

/// Reads the name only when it is not too long.
BleStatusC SetAdapterName(std::string_view name);

}  // namespace pelacon
