#include <tests/support/RuntimeFolder.h>

#include <cstdlib>

namespace pelacon::test {

void SetVariable(const char* name, const std::string& value)
{
    _putenv_s(name, value.c_str());
}

}  // namespace pelacon::test
