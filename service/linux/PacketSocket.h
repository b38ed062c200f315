// Packets that come through a socket, on the loop.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace pelacon::service::linux_radios {

/// Reads packets of at most `kMost` bytes until this ends, or the socket does, of which nothing is
/// told. In the loop's thread.
class PacketSocket : private Loop::Source {
  public:
    /// May destroy the reader.
    using Got = std::function<void(const std::vector<std::uint8_t>&)>;

    static constexpr std::size_t kMost = 512;

    PacketSocket(Loop& loop, std::shared_ptr<const FileDescriptor> socket, Got got);
    ~PacketSocket() override;

  private:
    /// How many packets are read before other sources have their turn.
    static constexpr int kMostAtOnce = 32;

    bool ReadOne(short events);
    Loop::Interest Wants() override;
    void Ready(short events) override;

    Loop& loop_;
    std::shared_ptr<const FileDescriptor> socket_;
    Got got_;
    std::shared_ptr<void> alive_ = std::make_shared<char>();
};

}  // namespace pelacon::service::linux_radios
