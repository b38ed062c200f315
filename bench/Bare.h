// The baseline: bare blocking stream sockets.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace pelacon::bench {

/// The use of a connection to the bare peer, which is sent first.
struct BareJob {
    enum class Kind : std::uint32_t {
        kPingPong,  ///< sends back each message of `size` bytes
        kStream,    ///< for each byte received, sends `count` messages of `size` bytes
        kFanOut,    ///< sends one message; then, for each byte received on any of the connections
                    ///< with this job, one on each of them
        kPush,      ///< sends a message of `size` bytes that begins with Now(), each `interval` µs
    };
    Kind kind{};
    std::uint32_t size = 0;
    std::uint32_t count = 0;
    std::uint32_t interval = 0;
};

/// Nanoseconds of a clock that all processes share.
inline std::int64_t Now()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// What the messages of kStream and kFanOut begin with.
struct Stamp {
    std::uint64_t number = 0;  ///< of the message, from 0
    std::int64_t sent = 0;     ///< Now(), before the first message was sent
};

/// A blocking stream socket. Throws std::system_error for unexpected failures.
class BareSocket {
  public:
    explicit BareSocket(int descriptor) : descriptor_(descriptor) {}
    ~BareSocket();
    BareSocket(BareSocket&& other) noexcept;
    BareSocket& operator=(BareSocket&&) = delete;

    static BareSocket Connect(const std::string& path, const BareJob& job);
    static BareSocket Listen(const std::string& path);
    BareSocket Accept() const;

    /// Writes all bytes; false when the peer has closed the connection.
    bool Write(std::span<const std::uint8_t> bytes) const;

    /// Fills the span, with one read if possible; false at the end of the stream.
    bool Read(std::span<std::uint8_t> bytes) const;

    /// Shuts the stream down in both directions, which ends blocked reads.
    void Shutdown() const;

  private:
    int descriptor_;
};

}  // namespace pelacon::bench
