// The module that the code runs in.
#pragma once

namespace pelacon::os {

/// Keeps the module that holds this code in memory until the process ends, even if it is unloaded:
/// its threads may be running application code at that moment. Cheap when called again.
void PinThisLibrary();

}  // namespace pelacon::os
