// Connection errors on their way to listeners.
#pragma once

#include <PelaconSDK/ErrorListener.h>
#include <os/Lock.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <list>
#include <optional>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace pelacon {

/// Delivers each error to every listener, on a worker thread of its own, in the order of posting.
///
/// A listener that is removed while an error waits for it ends the worker: from then on errors are
/// kept but not delivered. This is part of the contract.
class ErrorStatus {
  public:
    /// The process's one notifier. It is never destroyed, as its worker may run until the process
    /// ends. A forked child gets one of its own with the listeners of its parent; errors that wait
    /// for delivery stay the parent's. Throws std::system_error when the worker cannot be started,
    /// and may be called again.
    static ErrorStatus* GetInstance();

    ErrorStatus(const ErrorStatus&) = delete;
    ErrorStatus& operator=(const ErrorStatus&) = delete;

    /// False for null and for a listener that is registered already.
    bool RegistListener(ErrorListener* listener);

    /// False for null and for a listener that is not there.
    bool UnregistListener(ErrorListener* listener);

    /// Queues the error for every listener that is registered now.
    void PostNotification(ConnectErrorCode code);

    /// The code's text, "unknow" where it has none.
    std::string GetErrorString(ConnectErrorCode code) const;

    /// Ends the worker once it has delivered everything, and waits for it. Throws what
    /// std::thread::join throws: from the second call on, and from inside a listener, where the
    /// worker ends all the same.
    void DestroyInstance();

  private:
    friend struct ErrorStatusAccess;

    // A size as the notifier always had it, not a limit.
    static constexpr std::size_t kBuckets = 8;

    /// The delivery of one error to one listener.
    struct Task {
        ErrorListener* listener;
        ErrorDetail detail;
    };
    using Listeners = std::unordered_map<ErrorListener*, bool>;

    explicit ErrorStatus(Listeners listeners = Listeners(kBuckets));
    ~ErrorStatus() = default;

    Listeners CopyListeners();
    void Work();
    void WakeWorker();

    /// Makes the change, which returns whether it was possible, under the lock.
    template <typename Change>
    bool ChangeListeners(const char* function, const ErrorListener* listener, const char* failure,
                         const Change& change);

    /// The next task, or nothing when the worker is to end.
    std::optional<Task> TakeTask(const char* function);

    const std::unordered_map<ConnectErrorCode, std::string> errorStrings_;
    const std::uint32_t forkGeneration_ = os::ForkGeneration();
    os::Lock lock_;  // guards everything up to tasks_
    Listeners listeners_;
    std::list<ErrorDetail> history_;  // the most recent errors, the oldest first
    std::size_t historyLimit_ = 256;
    std::deque<Task> tasks_;
    std::atomic<bool> stop_{false};
    std::atomic<bool> joined_{false};     // somebody waits for the worker, or has
    std::atomic<std::uint64_t> news_{0};  // changes when the worker may have something to do
    std::vector<std::thread> workers_;    // last: the worker uses all others
};

}  // namespace pelacon
