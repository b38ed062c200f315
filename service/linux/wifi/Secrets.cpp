#include <service/linux/wifi/Secrets.h>

#include <sys/random.h>

#include <cerrno>
#include <cstdint>
#include <string_view>
#include <system_error>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

std::string DrawLetters(std::size_t count)
{
    // As many as five bits can name, so that all are equally likely.
    constexpr std::string_view kLetters = "abcdefghijkmnpqrstuvwxyz23456789";
    static_assert(kLetters.size() == 32);
    std::vector<std::uint8_t> drawn(count);
    if (getrandom(drawn.data(), drawn.size(), 0) != static_cast<ssize_t>(drawn.size())) {
        throw std::system_error(errno, std::generic_category(), "no random numbers");
    }
    std::string letters;
    for (const std::uint8_t octet : drawn) {
        letters += kLetters[octet % kLetters.size()];
    }
    return letters;
}

}  // namespace pelacon::service::linux_radios::wifi
