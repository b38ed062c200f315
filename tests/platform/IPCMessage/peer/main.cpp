// The channel's other end for the tests, as a process. The first argument is its role. It writes a
// line when it is ready, and ends when its input ends.
#include <IPCMessage/IPCMessageClient.h>
#include <IPCMessage/IPCMessageServer.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/Scenarios.h>
#include <tests/platform/IPCMessage/peer/Roles.h>

#include <atomic>
#include <iostream>
#include <mutex>
#include <string>

namespace pelacon::test {

namespace {

void Print(const std::string& line)
{
    std::cout << line << std::endl;
}

void WaitForEndOfInput()
{
    std::string ignored;
    while (std::getline(std::cin, ignored)) {
    }
}

/// Answers requests, except those with id 2: it writes a line when it receives one.
int Serve()
{
    Handler handler;
    Gate never;
    handler.onRequest = [&](std::uint64_t, const TagIPCMessageItem& request) {
        if (request.msgId == 2) {
            static std::mutex& output = *new std::mutex;
            {
                const std::lock_guard lock(output);
                Print("received");
            }
            never.Pass(24h);
        }
        return Handler::Echo(request);
    };
    IPCMessageServer server(kPipe, handler);
    Print("ready");
    WaitForEndOfInput();
    std::_Exit(0);  // without waiting for running requests
}

/// Sends notifications without end to the client that arrived last.
int ServeStream()
{
    Handler handler;
    IPCMessageServer server(kPipe, handler);
    Print("ready");
    const Stream stream(handler, server);
    WaitForEndOfInput();
    return 0;
}

/// An application that returns from main while callbacks and requests are running.
int LeaveMain()
{
    static IPCMessageClient* const client = new IPCMessageClient(1, false, false, kPipe);
    static std::atomic<int> calls{0};
    client->RegisterMessageCallback(7, [](TagIPCMessageItem&) {
        if (++calls % 16 == 0) {
            IsServed(*client);
        }
    });
    std::thread([] {
        for (;;) {
            IsServed(*client);
        }
    }).detach();
    while (calls < 100) {
        std::this_thread::yield();
    }
    return 42;
}

/// Makes one request and writes its outcome.
int Call()
{
    const IPCMessageClient client(1, false, false, kPipe);
    Print(IsServed(client) ? "served" : "not served");
    return 0;
}

/// Makes a request for each line of its input, over a new connection, and writes its outcome.
int CallOnLine()
{
    std::string line;
    while (std::getline(std::cin, line)) {
        Call();
    }
    return 0;
}

}  // namespace

int PlayRole(const std::string& role)
{
    if (role == "serve") {
        return Serve();
    }
    if (role == "stream") {
        return ServeStream();
    }
    if (role == "leave-main") {
        return LeaveMain();
    }
    if (role == "call") {
        return Call();
    }
    if (role == "call-on-line") {
        return CallOnLine();
    }
    return PlayPlatformRole(role);
}

}  // namespace pelacon::test

int main(int argc, char** argv)
{
    try {
        return pelacon::test::PlayRole(argc > 1 ? argv[1] : "");
    } catch (const std::exception& error) {
        std::cout << error.what() << std::endl;
        return 1;
    }
}
