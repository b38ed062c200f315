#include <tests/service/RuntimeFolder.h>

namespace pelacon::service::tests {

// Pipes lie in no folder here, and their names hold the process id.
void UseOwnRuntimeFolder() {}

}  // namespace pelacon::service::tests
