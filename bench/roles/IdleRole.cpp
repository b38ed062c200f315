// A client that has started the library and is idle: its cost.
#include <PelaconSDK/PelaconSDK.h>
#include <bench/roles/Roles.h>

#include <chrono>
#include <fstream>
#include <iostream>
#include <thread>

namespace pelacon::bench {

namespace {

/// A number of /proc/self/status.
long ProcessFigure(const std::string& key)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ":")) {
            return std::stol(line.substr(key.size() + 1));
        }
    }
    return -1;
}

}  // namespace

int RunIdleRole()
{
    // Allocate first what the process uses in any case.
    ProcessFigure("RssAnon");
    Answer("ready");

    const long memory = ProcessFigure("RssAnon");
    const long threads = ProcessFigure("Threads");
    PelaconSvcStart();
    if (GetBtRunningState() == kBtStateUnknown) {
        return 1;
    }
    // By then the receive thread is idle.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    const long memoryStarted = ProcessFigure("RssAnon");
    const long threadsStarted = ProcessFigure("Threads");
    Answer(std::to_string(memoryStarted - memory));
    Answer(std::to_string(threadsStarted - threads));
    PelaconSvcStop();
    return 0;
}

}  // namespace pelacon::bench
