// The terminal that a program writes to, if there is one.
#pragma once

namespace pelacon::os {

/// Whether standard output goes to a terminal that understands colour codes. Where the system has
/// to be asked to interpret them, and to take text as UTF-8, this asks it.
bool OutputIsTerminal();

/// In characters.
struct TerminalSize {
    int columns = 0;
    int rows = 0;
};

/// The size of the terminal that standard output goes to; zeros when there is none.
TerminalSize SizeOfTerminal();

}  // namespace pelacon::os
