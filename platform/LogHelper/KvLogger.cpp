#include <LogHelper/KvLogger.h>
#include <os/Debugger.h>
#include <os/Environment.h>
#include <os/Files.h>
#include <os/Lock.h>
#include <os/Singleton.h>
#include <os/SinkSlot.h>
#include <os/UtcTime.h>
#include <os/Utf8.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

namespace {

using pelacon::os::EnvironmentVariable;
using pelacon::os::Utf8;

constexpr std::int32_t kNothing = kLogFailure + 1;

/// As the library was loaded: once the application runs, whatever it opens may get the number of a
/// standard error that was closed.
const bool standardErrorTakesLogs = pelacon::os::IsStandardErrorForLogs();

/// Time of day in UTC with milliseconds, and the level's letter.
std::string Decoration(LOG_MESSAGE_LEVEL level)
{
    return pelacon::os::UtcStamp(std::chrono::system_clock::now()) + ' ' +
           ".TIWE"[std::clamp<int>(level, 0, 4)] + ' ';
}

/// What PELACON_LOG asks for.
class EnvironmentOutput {
  public:
    EnvironmentOutput()
    {
        const std::optional<std::string> wish = EnvironmentVariable("PELACON_LOG");
        if (!wish || wish->empty()) {
            return;
        }
        const char level = (*wish)[0];
        const std::string file = wish->size() > 2 && (*wish)[1] == ':' ? wish->substr(2) : "";
        if (level < '0' || level > '4' || (wish->size() > 1 && file.empty())) {
            complaint_ = "PelaconSDK: PELACON_LOG=" + *wish +
                         " is not valid, so nothing is logged: it must be a level from 0 to 4, or "
                         "a level, a colon and a file.\n";
        } else if (level != '0') {
            Open(level, file);
        }
    }

    std::int32_t Lowest() const { return lowest_; }

    /// Writes once what is wrong with PELACON_LOG, if anything is.
    void Complain() noexcept
    {
        if (!complaint_.empty() && !complained_.exchange(true) && standardErrorTakesLogs) {
            pelacon::os::WriteToStandardError(complaint_);
        }
    }

    void Write(LOG_MESSAGE_LEVEL level, std::wstring_view line)
    {
        if (level < lowest_) {
            return;
        }
        const std::string text = Decoration(level) + Utf8(line) + '\n';
        if (file_ == stderr) {
            pelacon::os::WriteToDebugger(line);  // a program with windows may have no stderr
        }
        // Lines stay whole by the stream's own lock, which fork frees in a child.
        std::fwrite(text.data(), 1, text.size(), file_);
        std::fflush(file_);
    }

  private:
    void Open(char level, const std::string& file)
    {
        if (file.empty()) {
            file_ = standardErrorTakesLogs ? stderr : nullptr;
        } else {
            file_ = pelacon::os::OpenToAppend(file);
            if (file_ == nullptr) {
                complaint_ =
                    "PelaconSDK: PELACON_LOG: nothing is logged, as this file cannot be written: " +
                    file + "\n";
            }
        }
        if (file_ != nullptr) {
            lowest_ = level - '0';
        }
    }

    std::FILE* file_ = nullptr;
    std::int32_t lowest_ = kNothing;
    std::string complaint_;
    std::atomic<bool> complained_{false};
};

EnvironmentOutput& Environment()
{
    static constinit pelacon::os::Singleton<EnvironmentOutput> output;
    return output.Get([] { return new EnvironmentOutput; });
}

struct ApplicationOutput {
    pelacon::os::SinkSlot<LOG_MESSAGE_LEVEL, std::wstring_view> slot;
    pelacon::os::Lock exchange;  ///< keeps the sink and the level that is wanted in step
};

ApplicationOutput& Application()
{
    static constinit pelacon::os::Singleton<ApplicationOutput> output;
    return output.Get([] { return new ApplicationOutput; });
}

}  // namespace

KvLogger& KvLogger::GetInstance()
{
    static constinit pelacon::os::Singleton<KvLogger> logger;
    KvLogger& instance = logger.Get([] { return new KvLogger; });
    Environment().Complain();  // where nothing delays a fork
    return instance;
}

KvLogger::KvLogger() : lowestWanted_(Environment().Lowest()) {}

void KvLogger::Log(LOG_MESSAGE_LEVEL level, const std::wstringstream& line) noexcept
{
    try {
        const std::wstring text = line.str();
        Environment().Write(level, text);
        if (Application().slot.IsSet()) {
            Application().slot.Deliver(level, text);
        }
    } catch (...) {  // NOLINT(bugprone-empty-catch): no memory: the line is lost
    }
}

void KvLogger::SetSink(Sink sink, LOG_MESSAGE_LEVEL lowest)
{
    ApplicationOutput& application = Application();
    const std::int32_t wanted = sink ? static_cast<std::int32_t>(lowest) : kNothing;
    Sink fromLowest;
    if (sink) {
        fromLowest = [sink = std::move(sink), lowest](LOG_MESSAGE_LEVEL level,
                                                      std::wstring_view line) {
            if (level >= lowest) {
                sink(level, line);
            }
        };
    }
    const auto replaced = [&] {
        const std::lock_guard lock(application.exchange);
        const pelacon::os::ForkHold hold;
        lowestWanted_.store(std::min(wanted, Environment().Lowest()), std::memory_order_relaxed);
        return application.slot.Exchange(std::move(fromLowest));
    }();
    replaced.Wait();
}
