#include <os/windows/Wide.h>
#include <tests/support/RuntimeFolder.h>

#include <cstdlib>

namespace pelacon::test {

void SetVariable(const char* name, const std::string& value)
{
    _wputenv_s(os::Wide(name).c_str(), os::Wide(value).c_str());
}

}  // namespace pelacon::test
