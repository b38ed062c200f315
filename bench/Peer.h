// The other process of a measurement.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::bench {

/// A temporary folder, removed by the destructor.
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

/// A child process, which the destructor ends.
class Peer {
  public:
    /// Starts a program whose sockets are in the folder.
    Peer(const std::string& program, const std::vector<std::string>& arguments,
         const std::string& runtimeFolder);
    ~Peer();
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    /// Starts this program in another role.
    static Peer InRole(const std::string& role, const std::string& runtimeFolder);

    void Tell(const std::string& line);

    /// The next line of its output. Throws when the process has ended.
    std::string Hear();

    /// The processor time that it has used, in nanoseconds.
    std::int64_t ProcessorTime() const;

    /// The memory that it occupies, in KiB.
    std::int64_t Memory() const;

    /// Writes a line to its input and waits for a line in return.
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

/// The service of the same build, in the same stage.
std::string ServicePath();

/// The processor time that this process has used, in nanoseconds.
std::int64_t ProcessorTime();

/// Makes the library of this process search its service in the folder.
void UseRuntimeFolder(const std::string& folder);

}  // namespace pelacon::bench
