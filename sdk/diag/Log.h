// The library's log lines: "[PelaconSDK]" + message + "(" + function name + ")".
#pragma once

#include <LogHelper/KvLogger.h>

#include <locale>
#include <sstream>
#include <string_view>
#include <type_traits>

namespace pelacon::diag {

namespace detail {

inline constexpr std::string_view kTag = "PelaconSDK";

/// Narrow text is widened character by character; numbers read as the stream formats them.
template <typename Piece>
void Write(std::wostream& line, const Piece& piece)
{
    if constexpr (std::is_convertible_v<const Piece&, std::string_view>) {
        for (const char character : std::string_view(piece)) {
            line << static_cast<wchar_t>(static_cast<unsigned char>(character));
        }
    } else {
        line << piece;
    }
}

}  // namespace detail

/// Writes one line; the message is the pieces with nothing between them. Never throws. A line that
/// no output takes is not built.
template <typename... Pieces>
void Log(LOG_MESSAGE_LEVEL level, std::string_view function, const Pieces&... pieces) noexcept
{
    try {
        KvLogger& logger = KvLogger::GetInstance();
        if (!logger.IsWanted(level)) {
            return;
        }
        std::wstringstream line;
        line.imbue(std::locale::classic());
        line << L"[";
        detail::Write(line, detail::kTag);
        line << L"]";
        (detail::Write(line, pieces), ...);
        line << L"(";
        detail::Write(line, function);
        line << L")";
        logger.Log(level, line);
    } catch (...) {  // NOLINT(bugprone-empty-catch): no memory: the line is lost
    }
}

/// The first and the last line of a function.
inline void LogStart(std::string_view function) noexcept
{
    Log(kLogTrace, function, "start");
}
inline void LogEnd(std::string_view function) noexcept
{
    Log(kLogTrace, function, "end");
}

/// The line of a request whose reply carried nothing.
inline void LogNoReply(std::string_view function) noexcept
{
    Log(kLogIncomplete, function, "recvMsg.message is nullptr, return");
}

}  // namespace pelacon::diag
