// Connection errors on their way to listeners.
#pragma once

#include <PelaconSDK/ErrorListener.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace pelacon {

/// Hands each error to every listener, on a worker thread of its own, in the order of posting.
///
/// A listener that is taken away while an error waits for it ends the worker: from then on errors
/// are kept but reach nobody. This is part of the contract.
class ErrorStatus {
  public:
    /// The process's one notifier. It is never destroyed, as its worker may run until the process
    /// ends. Throws std::system_error when the worker cannot be started, and may be called again.
    static ErrorStatus* GetInstance();

    ErrorStatus(const ErrorStatus&) = delete;
    ErrorStatus& operator=(const ErrorStatus&) = delete;

    /// False for null and for a listener that is there already.
    bool RegistListener(ErrorListener* listener);

    /// False for null and for a listener that is not there.
    bool UnregistListener(ErrorListener* listener);

    /// Has every listener that is there now told of the error.
    void PostNotification(ConnectErrorCode code);

    /// The code's text, "unknow" where it has none.
    std::string GetErrorString(ConnectErrorCode code) const;

    /// Ends the worker once it has delivered everything, and waits for it. Throws what
    /// std::thread::join throws: from the second call on, and from inside a listener.
    void DestroyInstance();

  private:
    friend struct ErrorStatusAccess;

    /// The delivery of one error to one listener.
    struct Task {
        ErrorListener* listener;
        std::function<void()> deliver;
    };

    ErrorStatus();
    ~ErrorStatus() = default;

    bool Insert(ErrorListener* listener);
    bool Erase(ErrorListener* listener);

    /// The next task, or nothing when the worker is to end.
    std::function<void()> TakeTask(const char* function);

    // Sizes as the notifier always had them; none is a limit.
    static constexpr std::size_t kBuckets = 8;

    const std::unordered_map<ConnectErrorCode, std::string> errorStrings_;
    std::mutex mutex_;  // guards everything below but stop_
    std::unordered_map<ErrorListener*, bool> listeners_;
    std::list<ErrorDetail> history_;  // the most recent errors, the oldest first
    std::size_t historyLimit_ = 256;
    std::deque<Task> tasks_;
    std::condition_variable condition_;
    std::atomic<bool> stop_{false};
    std::vector<std::thread> workers_;  // last: the worker uses all others
};

}  // namespace pelacon
