#include <IPCMessage/ConnectionLimits.h>

#include <algorithm>

namespace pelacon::ipc {

namespace {

constexpr std::size_t kMost = 2048;
constexpr std::size_t kLeast = 16;
constexpr std::size_t kFew = 16;

}  // namespace

ConnectionLimits::ConnectionLimits(std::size_t possible) noexcept
    : all(std::clamp(possible, kLeast, kMost)),
      perUser(all / 2),
      perProcess(all / 4),
      few(std::min(kFew, perProcess)),
      forFew(all / 8),
      forCommands(std::max<std::size_t>(all / 64, 2))
{}

ConnectionPlace ConnectionLimits::PlaceFor(const ConnectionCounts& open,
                                           bool isOperator) const noexcept
{
    const std::size_t kept = forCommands + (open.ofUser < few ? 0 : forFew);
    if (open.all + kept < all && open.ofUser < perUser && open.ofProcess < perProcess) {
        return ConnectionPlace::kAnything;
    }
    return isOperator && open.all < all ? ConnectionPlace::kCommands : ConnectionPlace::kNone;
}

}  // namespace pelacon::ipc
