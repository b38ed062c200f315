// What a client process of the measurements does. Each role is ready when it has written "ready";
// then it reads orders from its input, a line each.
#pragma once

namespace pelacon::bench {

/// "go MILLISECONDS": makes requests for that time, and writes how many they were.
int RunCallerRole();

/// "listen N": registers N tables of callbacks for changes of Bluetooth, and writes a line.
/// "scan N": registers N listeners of scans, and writes a line.
/// "expect COUNT": writes a line. When each table has been called COUNT times, writes the time of
/// the last call, in nanoseconds of a clock that all processes share.
int RunListenerRole();

/// "hold N": opens N connections for requests, keeps them idle, and writes a line.
int RunHolderRole();

}  // namespace pelacon::bench
