// Files that must not be left half written or handed on, and the descriptors that a program was
// started with.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace pelacon::os {

/// Puts a file with these contents in place of the one before, such that after a crash there is
/// either the old one or the new one, whole. Throws std::system_error.
void SaveFile(const std::string& path, std::string_view contents);

/// Opens a file to write at its end; it is made if need be. Programs that this one starts do not
/// inherit it, and it never takes the place of a closed standard stream. Null when it cannot be
/// opened.
std::FILE* OpenToAppend(const std::string& path);

/// Whether the number is that of a descriptor that is open for writing.
bool IsOpenForWriting(int descriptor) noexcept;

/// Writes all of the text to a descriptor that the program inherited, and closes it; a standard
/// stream becomes the null device instead. False when it is not open for writing.
bool WriteAndClose(int descriptor, std::string_view text);

/// Opens the null device as each standard stream that the program was started without. Otherwise
/// another file or socket would get the stream's number, and receive what is written to the stream.
/// Call it before anything else is opened. Does nothing on Windows, where a closed stream's number
/// is not used again.
void OpenMissingStandardStreams() noexcept;

/// Whether log lines may be written to standard error: it is a file, a terminal, a pipe, or the
/// system's journal. Any other descriptor with its number was opened for another purpose.
bool IsStandardErrorForLogs();

/// Writes all of the text to standard error, without the C library's stream and its lock. Waits
/// while a pipe is full. False when it cannot be written.
bool WriteToStandardError(std::string_view text) noexcept;

}  // namespace pelacon::os
