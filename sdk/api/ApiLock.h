// Two locks at once: a class's own, held as long as one of its operations lasts, and its
// registry's.
#pragma once

#include <mutex>

namespace pelacon {

/// Takes a registry's lock besides the class's. Callbacks run with the registry locked and may call
/// operations, which take the class's lock: the reverse order. Therefore an operation that finds
/// the registry busy lets go of the class's lock until it can have both.
inline std::unique_lock<std::recursive_mutex> LockRegistry(std::unique_lock<std::mutex>& api,
                                                           std::recursive_mutex& registry)
{
    std::unique_lock lock(registry, std::try_to_lock);
    if (!lock.owns_lock()) {
        api.unlock();
        std::lock(api, lock);
    }
    return lock;
}

}  // namespace pelacon
