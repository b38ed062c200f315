// Ways in which a program makes requests of another process and receives messages that the process
// pushes: the library, bare sockets, and other libraries for the purpose.
#pragma once

#include <bench/Arrivals.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace pelacon::bench {

/// One way, with its other process, which runs as long as this exists.
class Caller {
  public:
    Caller() = default;
    virtual ~Caller() = default;
    Caller(const Caller&) = delete;
    Caller& operator=(const Caller&) = delete;

    virtual std::string Name() const = 0;

    /// Sends the message, and waits for the answer, which takes its place.
    virtual void Call(std::vector<std::uint8_t>& message) = 0;

    /// Has the other process push `count` messages of `size` bytes as fast as this one receives
    /// them, each with its number first, and gives the numbers to `arrivals`. Where another thread
    /// receives them, this may return before all have arrived.
    virtual void Receive(std::uint32_t size, std::uint32_t count, Arrivals& arrivals) = 0;
};

// Each starts its other process, whose sockets are in the folder.
std::unique_ptr<Caller> MakeBareCaller(const std::string& folder);
std::unique_ptr<Caller> MakeLibraryCaller(const std::string& folder);
std::unique_ptr<Caller> MakeDirectBusCaller(const std::string& folder);
std::unique_ptr<Caller> MakeDaemonBusCaller(const std::string& folder);
std::unique_ptr<Caller> MakeGrpcCaller(const std::string& folder);
std::unique_ptr<Caller> MakeZeroMqCaller(const std::string& folder);
std::unique_ptr<Caller> MakeNngCaller(const std::string& folder);

// The other processes: each answers until it is killed.
int RunDirectBusRole();
int RunDaemonBusRole();
int RunGrpcRole();
int RunZeroMqRole();
int RunNngRole();

/// The folder of the role's sockets.
std::string RoleFolder();

/// The number at the front of a message.
std::uint32_t NumberOf(const void* message);

}  // namespace pelacon::bench
