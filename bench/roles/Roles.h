// The roles of this program as one of the other processes. Each writes "ready" to standard output
// when it can be measured, reads commands from standard input, answers each with a line, and ends
// at the end of its input.
#pragma once

#include <string>

namespace pelacon::bench {

int RunBareRole();
int RunEchoRole();
int RunFloodRole();
int RunIdleRole();

/// Writes a line for the benchmark.
void Answer(const std::string& line);

}  // namespace pelacon::bench
