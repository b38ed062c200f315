#include <bench/roles/Roles.h>

#include <iostream>

namespace pelacon::bench {

void Answer(const std::string& line)
{
    std::cout << line << '\n' << std::flush;
}

}  // namespace pelacon::bench
