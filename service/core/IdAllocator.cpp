#include <os/Files.h>
#include <service/core/IdAllocator.h>

#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <system_error>
#include <utility>

namespace pelacon::service {

namespace {

constexpr std::string_view kHead = "pelacon-next-id ";

/// The first id after those that were ever reserved.
std::int32_t ReadFile(const std::string& file)
{
    const std::filesystem::path path(std::u8string(file.begin(), file.end()));
    std::error_code error;
    const auto type = std::filesystem::status(path, error).type();
    if (type == std::filesystem::file_type::not_found) {
        return 1;
    }
    if (type != std::filesystem::file_type::regular) {
        throw IdError(file + ": is not a file; this service keeps there which ids were given out");
    }
    std::ifstream stream(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    std::int32_t next = 0;
    if (stream && text.starts_with(kHead) && text.ends_with('\n')) {
        const char* const end = text.data() + text.size() - 1;
        const auto [stop, failure] = std::from_chars(text.data() + kHead.size(), end, next);
        if (failure == std::errc() && stop == end && next > 0) {
            return next;
        }
    }
    throw IdError(file +
                  ": cannot be read, or is not what this service wrote. It remembers which "
                  "ids were given out; end all programs that use the service, then delete "
                  "it.");
}

}  // namespace

IdAllocator::IdAllocator(std::string file) : file_(std::move(file))
{
    next_ = ReadFile(file_);
    end_ = next_;
    ReserveBlock();
}

std::int32_t IdAllocator::Next()
{
    if (next_ == end_) {
        ReserveBlock();
    }
    return next_++;
}

void IdAllocator::ReserveBlock()
{
    if (end_ > std::numeric_limits<std::int32_t>::max() - kBlock) {
        throw IdError(file_ + ": all ids have been given out");
    }
    const std::int32_t end = end_ + kBlock;
    try {
        os::SaveFile(file_, std::string(kHead) + std::to_string(end) + '\n');
    } catch (const std::system_error& failure) {
        throw IdError(std::string("cannot remember which ids were given out: ") + failure.what());
    }
    end_ = end;
}

}  // namespace pelacon::service
