#include <os/CommandLine.h>

namespace pelacon::os {

std::vector<std::string> Arguments(int argc, const char* const* argv)
{
    return argc > 1 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

}  // namespace pelacon::os
