// Standard input, output and error where they may be closed, or stuck.
#pragma once

#include <string_view>

namespace pelacon::os {

/// Opens the null device as each standard stream that the program was started without, so that no
/// other file or socket gets its number and with it what is written to the stream. To be called
/// before anything else is opened. Nothing on Windows, where streams have no numbers to lose.
void OpenMissingStandardStreams() noexcept;

/// Whether standard error is something that takes a log: a file, a terminal, a pipe, or the
/// system's journal. Anything else with its number belongs to somebody who does not expect lines.
bool IsStandardErrorForLogs();

/// Writes all of the text to standard error, without the C library's stream and its lock. Waits for
/// a reader that does not read. False when it cannot be written.
bool WriteToStandardError(std::string_view text) noexcept;

}  // namespace pelacon::os
