// What a client process of the measurements does. Each role is ready when it has written "ready";
// then it reads orders from its input, a line each.
#pragma once

namespace pelacon::bench {

/// "go MILLISECONDS": makes requests for so long, and writes their number.
int RunCallerRole();

/// "listen N": registers N tables of callbacks for changes of Bluetooth, and writes a line.
/// "expect COUNT": writes a line, and when the callbacks have been called COUNT times each, the
/// time of the last call by a clock that all processes share, in nanoseconds. "scan N": registers N
/// listeners of scans, and writes a line.
int RunListenerRole();

}  // namespace pelacon::bench
