// The other processes: what this program does when it is started as one of them. Each says "ready"
// on its standard output when it can be measured, takes orders on its standard input, answers each
// with a line, and ends with its input.
#pragma once

#include <string>

namespace pelacon::bench {

int RunBareRole();
int RunEchoRole();
int RunFloodRole();
int RunIdleRole();

/// Writes one line for the benchmark to read.
void Answer(const std::string& line);

}  // namespace pelacon::bench
