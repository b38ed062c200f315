#include <sdk/api/Utils.h>
#include <sdk/diag/Log.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

namespace pelacon::Utils {

namespace {

std::int32_t NumberIn(const std::string& piece)
{
    const std::optional<std::int64_t> value = StollS(piece);
    return value && std::in_range<std::int32_t>(*value) ? static_cast<std::int32_t>(*value) : 0;
}

}  // namespace

// Reads as std::stoll does, whose messages differ from one standard library to the next.
std::optional<std::int64_t> StollS(const std::string& piece)
{
    char* end = nullptr;
    errno = 0;
    const long long value = std::strtoll(piece.c_str(), &end, 10);
    const char* problem = nullptr;
    if (end == piece.c_str() || *end != '\0') {
        problem = "invalid stoll argument";
    } else if (errno == ERANGE) {
        problem = "stoll argument out of range";
    }
    if (problem != nullptr) {
        diag::Log(kLogMilestone, "Utils::StollS", "stoll exception: ", problem);
        return std::nullopt;
    }
    return value;
}

std::list<std::int32_t> SplitNumbers(std::string_view text)
{
    std::list<std::int32_t> numbers;
    while (!text.empty()) {
        const std::string_view piece = text.substr(0, text.find(','));
        if (!piece.empty()) {
            numbers.push_back(NumberIn(std::string(piece)));
        }
        text.remove_prefix(piece.size() < text.size() ? piece.size() + 1 : piece.size());
    }
    return numbers;
}

}  // namespace pelacon::Utils
