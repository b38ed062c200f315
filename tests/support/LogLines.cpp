#include <LogHelper/KvLogger.h>
#include <os/Utf8.h>
#include <tests/support/Journal.h>
#include <tests/support/LogLines.h>

#include <gmock/gmock.h>

#include <mutex>
#include <ostream>
#include <string>
#include <utility>

namespace pelacon::test {

namespace {

constexpr std::string_view kTag = "[PelaconSDK]";

struct Recorder {
    std::mutex mutex;
    std::vector<LogLine> lines;
    KvLogger::Sink sink;
    int lowest = kLogTrace;
};

Recorder& TheRecorder()
{
    static Recorder& recorder = *new Recorder;
    return recorder;
}

/// The line in the journal's form.
std::string JournalEntry(const LogLine& line)
{
    const bool tagged = line.text.starts_with(kTag);
    return "log " + std::to_string(line.level) + ' ' +
           (tagged ? line.text.substr(kTag.size()) : line.text);
}

void Record(int level, const std::wstring& text)
{
    const LogLine line{level, os::Utf8(text)};
    Recorder& recorder = TheRecorder();
    KvLogger::Sink sink;
    {
        const std::lock_guard lock(recorder.mutex);
        recorder.lines.push_back(line);
        if (level >= recorder.lowest) {
            sink = recorder.sink;
        }
    }
    Journal::Note(JournalEntry(line));
    if (sink) {
        sink(static_cast<LOG_MESSAGE_LEVEL>(level), text);
    }
}

}  // namespace

void PrintTo(const LogLine& line, std::ostream* out)
{
    *out << line.level << ' ' << line.text;
}

LogLine Line(int level, std::string_view message, std::string_view function)
{
    std::string text(kTag);
    text.append(message).append("(").append(function).append(")");
    return {level, std::move(text)};
}

LogLine Start(std::string_view function)
{
    return Line(1, "start", function);
}
LogLine End(std::string_view function)
{
    return Line(1, "end", function);
}
LogLine NoReply(std::string_view function)
{
    return Line(3, "recvMsg.message is nullptr, return", function);
}
LogLine NotStarted()
{
    return Line(3, "pIpcMessageSender is nullptr, return",
                "IPCMessageSender::SendIPCMessageToService");
}

std::vector<LogLine> LogLines::All()
{
    const std::lock_guard lock(TheRecorder().mutex);
    return TheRecorder().lines;
}

void LogLines::Clear()
{
    const std::lock_guard lock(TheRecorder().mutex);
    TheRecorder().lines.clear();
}

}  // namespace pelacon::test

using pelacon::test::TheRecorder;

KvLogger& KvLogger::GetInstance()
{
    static KvLogger& logger = *new KvLogger;
    return logger;
}

KvLogger::KvLogger() : lowestWanted_(kLogTrace) {}

void KvLogger::Log(LOG_MESSAGE_LEVEL level, const std::wstringstream& line) noexcept
{
    pelacon::test::Record(level, line.str());
}

void KvLogger::SetSink(Sink sink, LOG_MESSAGE_LEVEL lowest)
{
    const std::lock_guard lock(TheRecorder().mutex);
    TheRecorder().sink = std::move(sink);
    TheRecorder().lowest = lowest;
}
