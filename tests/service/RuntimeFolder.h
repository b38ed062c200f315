// A place for the pipes of this test program.
#pragma once

#include <string>

namespace pelacon::service::tests {

/// Has the pipes of this process lie in a folder of its own, which goes with the process. The first
/// call is to come before any thread is started; later ones do nothing.
void UseOwnRuntimeFolder();

}  // namespace pelacon::service::tests
