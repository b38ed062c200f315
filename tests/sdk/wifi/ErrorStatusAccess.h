// Error notifiers of a test's own, and what is inside them.
#pragma once

#include <sdk/wifi/ErrorStatus.h>

#include <cstddef>
#include <list>
#include <memory>

namespace pelacon {

struct ErrorStatusAccess {
    struct Deleter {
        void operator()(ErrorStatus* status) const { delete status; }
    };
    using Owned = std::unique_ptr<ErrorStatus, Deleter>;

    /// A notifier with a worker of its own, which has to be ended before it goes.
    static Owned Make() { return Owned(new ErrorStatus); }

    static std::list<ErrorDetail> History(ErrorStatus& status)
    {
        const std::lock_guard lock(status.lock_);
        return status.history_;
    }
    static std::size_t Tasks(ErrorStatus& status)
    {
        const std::lock_guard lock(status.lock_);
        return status.tasks_.size();
    }
    static std::size_t Workers(const ErrorStatus& status) { return status.workers_.size(); }
};

}  // namespace pelacon
