#include <os/Cancellation.h>

namespace pelacon::os {

NoCancellation::NoCancellation() noexcept
{
    static_cast<void>(before_);
}

NoCancellation::~NoCancellation() = default;

}  // namespace pelacon::os
