// The stand-in for the logger: a recording KvLogger.
#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace pelacon::test {

struct LogLine {
    int level = 0;
    std::string text;

    bool operator==(const LogLine&) const = default;
};
void PrintTo(const LogLine& line, std::ostream* out);

/// The line that the library writes for this message in this function:
///
///     EXPECT_THAT(LogLines::All(), ElementsAre(Line(1, "start", "BleManager::BtEnable"), ...));
LogLine Line(int level, std::string_view message, std::string_view function);

/// "start" and "end" of a function.
LogLine Start(std::string_view function);
LogLine End(std::string_view function);
/// The line of a request whose reply has no payload.
LogLine NoReply(std::string_view function);
/// The line of a request made while the library is not started.
LogLine NotStarted();

/// Every line that was written, the text in UTF-8.
class LogLines {
  public:
    static std::vector<LogLine> All();
    static void Clear();
};

}  // namespace pelacon::test
