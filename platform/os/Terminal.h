// The terminal that a program writes to, if there is one.
#pragma once

namespace pelacon::os {

/// Whether standard output goes to a terminal that understands colour codes. Where the system has
/// to be asked to interpret them, and to take text as UTF-8, this asks it.
bool OutputIsTerminal();

/// Columns of the terminal that standard output goes to; 0 when there is none.
int TerminalWidth();

/// Rows of it; 0 when there is none.
int TerminalHeight();

}  // namespace pelacon::os
