#include <tests/support/RuntimeFolder.h>

#include <cstdlib>

namespace pelacon::test {

void SetVariable(const char* name, const std::string& value)
{
    if (value.empty()) {
        unsetenv(name);
    } else {
        setenv(name, value.c_str(), 1);
    }
}

}  // namespace pelacon::test
