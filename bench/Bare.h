// The floor: blocking stream sockets, with nothing around them.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace pelacon::bench {

/// What a connection to the bare peer is for: the first thing sent on it.
struct BareJob {
    enum class Kind : std::uint32_t {
        kPingPong,  ///< sends back each message of `size` bytes
        kStream,    ///< for each byte received, sends `count` messages of `size` bytes
        kPush,      ///< sends a message of `size` bytes that begins with Now(), each `interval` µs
    };
    Kind kind{};
    std::uint32_t size = 0;
    std::uint32_t count = 0;
    std::uint32_t interval = 0;
};

/// Nanoseconds on the clock that all processes of the machine share.
inline std::int64_t Now()
{
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

/// A blocking stream socket. Throws std::system_error for what should not happen.
class BareSocket {
  public:
    explicit BareSocket(int descriptor) : descriptor_(descriptor) {}
    ~BareSocket();
    BareSocket(BareSocket&& other) noexcept;
    BareSocket& operator=(BareSocket&&) = delete;

    static BareSocket Connect(const std::string& path, const BareJob& job);
    static BareSocket Listen(const std::string& path);
    BareSocket Accept() const;

    /// Writes it all; false when the other end is gone.
    bool Write(std::span<const std::uint8_t> bytes) const;

    /// Fills the whole span, with one read where that is possible; false at the stream's end.
    bool Read(std::span<std::uint8_t> bytes) const;

    /// Ends the stream both ways, and whoever reads it.
    void Shutdown() const;

  private:
    int descriptor_;
};

}  // namespace pelacon::bench
