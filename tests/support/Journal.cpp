#include <tests/support/Journal.h>

#include <cstdio>
#include <mutex>
#include <utility>

namespace pelacon::test {

namespace {

// Never destroyed: detached threads may add lines until the process ends.
std::mutex& Mutex()
{
    static auto& mutex = *new std::mutex;
    return mutex;
}
std::vector<std::string>& List()
{
    static auto& list = *new std::vector<std::string>;
    return list;
}

}  // namespace

void Journal::Note(std::string entry)
{
    const std::lock_guard lock(Mutex());
    List().push_back(std::move(entry));
}

std::vector<std::string> Journal::Entries()
{
    const std::lock_guard lock(Mutex());
    return List();
}

void Journal::Clear()
{
    const std::lock_guard lock(Mutex());
    List().clear();
}

std::string Hex(std::int32_t messageId)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%06X", static_cast<unsigned>(messageId));
    return text;
}

}  // namespace pelacon::test
