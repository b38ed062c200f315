// The other process of a measurement.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::bench {

/// A folder below the system's temporary one that vanishes with this.
class TemporaryFolder {
  public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return path_; }

  private:
    std::string path_;
};

/// A child process; it ends with this, whatever becomes of the benchmark.
class Peer {
  public:
    /// Runs a program. Its sockets are in the folder.
    Peer(const std::string& program, const std::vector<std::string>& arguments,
         const std::string& runtimeFolder);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// Runs this program in another role.
    static Peer InRole(const std::string& role, const std::string& runtimeFolder);

    void Tell(const std::string& line);

    /// The next line of its output. Throws when it ended.
    std::string Hear();

    /// Nanoseconds that it has been running on a processor.
    std::int64_t ProcessorTime() const;

    /// Tells it a line and waits until it has answered with one.
    void Order(const std::string& line)
    {
        Tell(line);
        Hear();
    }

  private:
    [[noreturn]] void Ended() const;

    std::string name_;
    pid_t process_ = -1;
    int input_ = -1;
    int output_ = -1;
};

/// Nanoseconds that this process has been running on a processor.
std::int64_t ProcessorTime();

/// Has the library, in this process, look for its service in the folder.
void UseRuntimeFolder(const std::string& folder);

}  // namespace pelacon::bench
