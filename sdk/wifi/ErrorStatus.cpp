#include <os/SharedLibrary.h>
#include <os/WordWait.h>
#include <sdk/diag/Log.h>
#include <sdk/wifi/ErrorStatus.h>

#include <chrono>
#include <ratio>
#include <system_error>
#include <utility>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

namespace {

/// The system clock in steps of 100 nanoseconds, on every platform.
std::int64_t CurrentTicks()
{
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<Ticks>(now).count();
}

/// The notifier whose worker this thread is.
thread_local constinit const ErrorStatus* workingFor = nullptr;

}  // namespace

ErrorStatus* ErrorStatus::GetInstance()
{
    static constinit os::Lock instanceLock;
    static constinit ErrorStatus* instance = nullptr;
    const std::lock_guard lock(instanceLock);
    if (instance == nullptr) {
        instance = new ErrorStatus;
    } else if (instance->forkGeneration_ != os::ForkGeneration()) {
        instance = new ErrorStatus(instance->CopyListeners());  // the parent's is left as it is
    }
    return instance;
}

ErrorStatus::ErrorStatus(Listeners listeners)
    : errorStrings_({{kConnectSuccess, "success"},
                     {kConnectGoAlreadyExist, "go already exist"},
                     {kConnectBleSendFail, "ble send fail"}},
                    kBuckets),
      listeners_(std::move(listeners))
{
    os::PinThisLibrary();
    workers_.emplace_back([this] { Work(); });
}

ErrorStatus::Listeners ErrorStatus::CopyListeners()
{
    const std::lock_guard lock(lock_);
    return listeners_;
}

void ErrorStatus::Work()
{
    constexpr auto kFunction = "ErrorStatus::ErrorStatus::Worker";
    workingFor = this;
    LogStart(kFunction);
    while (std::optional<Task> task = TakeTask(kFunction)) {
        task->listener->OnError(std::move(task->detail));
        if (forkGeneration_ != os::ForkGeneration()) {
            return;  // in a child that the listener made: the tasks are its parent's
        }
    }
    LogEnd(kFunction);
}

void ErrorStatus::WakeWorker()
{
    news_.fetch_add(1);
    os::WakeAll(news_);
}

std::optional<ErrorStatus::Task> ErrorStatus::TakeTask(const char* function)
{
    std::unique_lock lock(lock_);
    for (std::uint64_t seen = news_; !stop_ && tasks_.empty(); seen = news_) {
        lock.unlock();
        os::WaitWhile(news_, seen);
        lock.lock();
    }
    if (tasks_.empty()) {
        lock.unlock();
        Log(kLogTrace, function, "task queue empty, stop");
        return {};
    }
    if (!listeners_.contains(tasks_.front().listener)) {
        lock.unlock();
        Log(kLogFailure, function, "listeners not found, stop");
        return {};
    }
    const os::ForkHold hold;
    Task task = std::move(tasks_.front());
    tasks_.pop_front();
    return task;
}

template <typename Change>
bool ErrorStatus::ChangeListeners(const char* function, const ErrorListener* listener,
                                  const char* failure, const Change& change)
{
    LogStart(function);
    if (listener == nullptr) {
        return false;
    }
    const bool changed = [&] {
        const std::lock_guard lock(lock_);
        const os::ForkHold hold;
        return change();
    }();
    if (!changed) {
        Log(kLogFailure, function, failure);
        return false;
    }
    LogEnd(function);
    return true;
}

bool ErrorStatus::RegistListener(ErrorListener* listener)
{
    return ChangeListeners("ErrorStatus::RegistListener", listener, "listeners found",
                           [&] { return listeners_.try_emplace(listener, true).second; });
}

bool ErrorStatus::UnregistListener(ErrorListener* listener)
{
    return ChangeListeners("ErrorStatus::UnregistListener", listener, "listeners not found",
                           [&] { return listeners_.erase(listener) != 0; });
}

void ErrorStatus::PostNotification(ConnectErrorCode code)
{
    constexpr auto kFunction = "ErrorStatus::PostNotification";
    LogStart(kFunction);
    std::string text = GetErrorString(code);
    {
        const std::lock_guard lock(lock_);
        const os::ForkHold hold;
        if (history_.size() >= historyLimit_) {
            history_.pop_front();
        }
        if (code == kConnectSuccess) {
            history_.clear();
        }
        history_.push_back({CurrentTicks(), code, std::move(text)});
        const ErrorDetail& detail = history_.back();
        for (const auto& [listener, registered] : listeners_) {
            tasks_.push_back({listener, detail});
        }
    }
    WakeWorker();
    LogEnd(kFunction);
}

std::string ErrorStatus::GetErrorString(ConnectErrorCode code) const
{
    constexpr auto kFunction = "ErrorStatus::GetErrorString";
    LogStart(kFunction);
    const auto found = errorStrings_.find(code);
    std::string text = found != errorStrings_.end() ? found->second : "unknow";
    LogEnd(kFunction);
    return text;
}

void ErrorStatus::DestroyInstance()
{
    constexpr auto kFunction = "ErrorStatus::DestroyInstance";
    LogStart(kFunction);
    stop_ = true;
    WakeWorker();
    if (workingFor == this) {
        // Not every system finds this out by itself.
        throw std::system_error(std::make_error_code(std::errc::resource_deadlock_would_occur));
    }
    if (joined_.exchange(true)) {  // also while the first call waits, which one thread may do only
        throw std::system_error(std::make_error_code(std::errc::invalid_argument));
    }
    for (std::thread& worker : workers_) {
        worker.join();
    }
    LogEnd(kFunction);
}

}  // namespace pelacon
