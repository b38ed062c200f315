// The terminal that a program writes to, if there is one.
#pragma once

namespace pelacon::os {

/// Whether standard output goes to a terminal that understands colour codes. On Windows, first
/// switches the console to colour codes and to UTF-8.
bool OutputIsTerminal();

/// In characters.
struct TerminalSize {
    int columns = 0;
    int rows = 0;
};

/// The size of the terminal that standard output goes to; zeros when there is none.
TerminalSize SizeOfTerminal();

}  // namespace pelacon::os
