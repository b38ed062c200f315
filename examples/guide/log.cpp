// The library's log in the application: prints the lines of failures and of what was not completed.
#include <PelaconSDK/PelaconSDK.h>

#include <cstdio>

int main()
{
    PelaconSetLogSink([](void* /*context*/, PelaconLogLevel level,
                         const char* line) { std::printf("level %d: %s\n", level, line); },
                      nullptr, kPelaconLogIncomplete);
    BleManager::BtEnable();  // refused, and logged: the library is not started
    PelaconSetLogSink(nullptr, nullptr, kPelaconLogTrace);
}
