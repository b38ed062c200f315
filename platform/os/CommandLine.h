// The words that a program was started with.
#pragma once

#include <string>
#include <vector>

namespace pelacon::os {

/// The arguments of main without the program's name, as UTF-8. On Windows, main receives them in
/// the code page of the machine, where a character that the page lacks is lost: they are read from
/// the system there.
std::vector<std::string> Arguments(int argc, const char* const* argv);

}  // namespace pelacon::os
