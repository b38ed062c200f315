// A client of the service on the tests' pipe. Its first argument is its role. Roles that last end
// when a line is written to it.
#include <IPCMessage/IPCControl.h>
#include <IPCMessage/linux/SocketConnection.h>
#include <IPCMessage/linux/SocketPath.h>
#include <LogHelper/KvLogger.h>
#include <os/Processes.h>
#include <protocol/BleManager.h>
#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <sys/auxv.h>
#include <sys/socket.h>

#include <array>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::test {

namespace {

using ipc::FrameKind;

void Print(const std::string& line)
{
    std::cout << line << std::endl;
}

void WaitForInput()
{
    std::string ignored;
    std::getline(std::cin, ignored);
}

bool AsksForTheName(const IPCMessageClient& client)
{
    const auto answer = Request(client, protocol::kGetBtName.id, std::nullopt);
    return answer && answer->payload;
}

/// Makes one request and writes its outcome.
void Call()
{
    const IPCMessageClient client(1, false, false, kPipe);
    Print(AsksForTheName(client) ? "served" : "not served");
}

/// Makes requests without a pause until it is ended. Writes the longest time that one took.
void CallOn()
{
    const IPCMessageClient client(1, false, false, kPipe);
    std::atomic<bool> isEnding{false};
    Print(AsksForTheName(client) ? "served" : "not served");
    std::thread ender([&] {
        WaitForInput();
        isEnding = true;
    });
    Clock::duration longest{};
    bool served = true;
    while (!isEnding) {
        longest = std::max(longest, Duration([&] { served = AsksForTheName(client) && served; }));
    }
    ender.join();
    Print(served ? std::to_string(std::chrono::ceil<milliseconds>(longest).count()) : "not served");
}

void Command()
{
    IPCControlError error{};
    const auto answer = IPCSendControl(kPipe, R"({"command": "status"})", kPatience, error);
    Print(answer ? "obeyed" : "not obeyed: " + error.message);
}

/// Sends a command to the process that listens at the path. The library would check its user first.
void Intrude(const std::string& path)
{
    const auto address = ipc::MakeSocketAddress(path);
    ipc::SocketConnection connection(ipc::OpenSocket);
    if (!address || connect(connection.Socket(), address->Get(), address->length) != 0) {
        return Print("not connected");
    }
    const std::string command = R"({"command": "status"})";
    ipc::FrameBuffer buffer;
    ipc::Deadline deadline(kPatience);
    connection.Send(MakeFrame({.kind = FrameKind::kControl, .flags = ipc::kHasPayload},
                              {command.begin(), command.end()}),
                    deadline);
    const ipc::IoResult result = connection.Receive(buffer.Room(), deadline);
    const auto header =
        result.status == ipc::IoStatus::kDone ? buffer.Read(result.size) : std::nullopt;
    Print(!header ? "closed" : header->kind == FrameKind::kControlReply ? "obeyed" : "refused");
}

/// Sends a frame along with as many descriptors as the kernel lets pass at once.
bool SendWithDescriptors(int socket, ByteVector frame)
{
    constexpr std::size_t kMost = 253;
    alignas(cmsghdr) std::array<std::uint8_t, CMSG_SPACE(kMost * sizeof(int))> control{};
    iovec content{frame.data(), frame.size()};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(kMost * sizeof(int));
    const std::array<int, kMost> descriptors{};  // each is the standard input, 0
    std::memcpy(CMSG_DATA(header), descriptors.data(), sizeof(descriptors));
    return sendmsg(socket, &message, MSG_NOSIGNAL) > 0;
}

/// Makes requests that carry descriptors, and writes how many were answered.
void PassDescriptors(const std::string& path)
{
    const auto address = ipc::MakeSocketAddress(path);
    ipc::SocketConnection connection(ipc::OpenSocket);
    if (!address || connect(connection.Socket(), address->Get(), address->length) != 0) {
        return Print("not connected");
    }
    ipc::Deadline deadline(kPatience);
    connection.Send(MakeFrame({.kind = FrameKind::kHelloCall, .flags = ipc::kHasPayload},
                              ByteVector(sizeof(ipc::Token), 1)),
                    deadline);
    ipc::FrameBuffer buffer;
    int answered = 0;
    while (answered < 100 &&
           SendWithDescriptors(
               connection.Socket(),
               MakeFrame({.kind = FrameKind::kRequest, .msgId = protocol::kGetBtName.id})) &&
           connection.Receive(buffer.Room(), deadline).status == ipc::IoStatus::kDone) {
        ++answered;
    }
    Print(std::to_string(answered));
    WaitForInput();
}

/// Opens the event connection of the client with this token. Writes whether it was accepted, and,
/// when a line of input has come, whether it is still open.
void Listen(std::uint8_t token)
{
    RawClient events;
    events.Greet(FrameKind::kHelloEvent, token);
    Print(events.Receive() ? "welcome" : "turned away");
    WaitForInput();
    Print(events.Get().IsConnected() ? "connected" : "closed");
}

/// Opens up to `count` connections, makes one request on each, and writes how many were answered.
/// The connections stay open until a line of input comes.
void Idle(int count)
{
    std::vector<std::unique_ptr<RawClient>> connections;
    for (int made = 0; made < count; ++made) {
        auto next = std::make_unique<RawClient>();
        next->Greet(FrameKind::kHelloCall, 1);
        next->Send({.kind = FrameKind::kRequest, .msgId = protocol::kGetBtName.id});
        if (!next->Receive()) {
            break;
        }
        connections.push_back(std::move(next));
    }
    Print(std::to_string(connections.size()));
    WaitForInput();
}

/// Sends what `next` returns, over connections that never read an answer.
void SendOn(const std::atomic<bool>& isEnding, FrameKind greeting,
            const std::function<ByteVector(std::uint64_t count)>& next)
{
    while (!isEnding) {
        try {
            RawClient connection;
            connection.Greet(greeting, 9);
            std::uint64_t count = 0;
            ipc::Deadline deadline(100ms);  // the service does not read while nobody reads it
            while (!isEnding &&
                   connection.Get().Send(next(count), deadline) == ipc::IoStatus::kDone) {
                ++count;
                deadline = ipc::Deadline(100ms);
            }
        } catch (const std::exception&) {
            std::this_thread::yield();  // turned away
        }
    }
}

/// Keeps the service as busy as it can until it is ended.
void Flood()
{
    const ByteVector large(ipc::kMaxPayload, 0xFF);
    std::atomic<bool> isEnding{false};
    std::vector<std::thread> threads;
    const auto flood = [&](FrameKind greeting, auto next) {
        threads.emplace_back([&isEnding, greeting, next] { SendOn(isEnding, greeting, next); });
    };
    flood(FrameKind::kHelloCall, [](std::uint64_t count) {
        return MakeFrame(
            {.kind = FrameKind::kRequest, .sequence = count, .msgId = protocol::kGetBtName.id});
    });
    flood(FrameKind::kHelloCall, [large](std::uint64_t count) {
        return MakeFrame({.kind = FrameKind::kRequest,
                          .flags = ipc::kHasPayload,
                          .sequence = count,
                          .msgId = static_cast<std::int32_t>(0xD70000 + count % 0x100)},
                         large);
    });
    flood(FrameKind::kHelloEvent, [large](std::uint64_t count) {
        return MakeFrame({.kind = FrameKind::kPost,
                          .flags = ipc::kHasPayload,
                          .order = count + 1,
                          .msgId = 0xD70048},
                         large);
    });
    flood(FrameKind::kHelloCall, [](std::uint64_t) { return ByteVector(100, 0xFF); });
    flood(FrameKind::kControl, [](std::uint64_t) { return ByteVector(100, 0xFF); });
    Print("flooding");
    WaitForInput();
    isEnding = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Writes what it has taken from its environment.
void Places()
{
    Print(getauxval(AT_SECURE) != 0 ? "more rights" : "usual rights");
    std::string places;
    for (const std::string& place : ipc::FindPipePlaces(kPipe)) {
        places += place + " ";
    }
    Print(places);
    Print(os::ServiceInstallPath());
    std::wstringstream line;
    line << L"a line";
    KvLogger::GetInstance().Log(kLogFailure, line);
}

int Play(const std::vector<std::string>& arguments)
{
    const std::string& role = arguments.at(0);
    if (role == "call") {
        Call();
    } else if (role == "call-on") {
        CallOn();
    } else if (role == "command") {
        Command();
    } else if (role == "intrude") {
        Intrude(arguments.at(1));
    } else if (role == "pass") {
        PassDescriptors(arguments.at(1));
    } else if (role == "listen") {
        Listen(static_cast<std::uint8_t>(std::stoi(arguments.at(1))));
    } else if (role == "idle") {
        Idle(std::stoi(arguments.at(1)));
    } else if (role == "flood") {
        Flood();
    } else if (role == "places") {
        Places();
    } else {
        throw std::runtime_error("unknown role " + role);
    }
    return 0;
}

}  // namespace

}  // namespace pelacon::test

int main(int argc, char** argv)
{
    try {
        return pelacon::test::Play({argv + 1, argv + argc});
    } catch (const std::exception& error) {
        std::cout << error.what() << std::endl;
        return 1;
    }
}
