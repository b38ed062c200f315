#include <tests/service/RuntimeFolder.h>
#include <tests/support/TemporaryFolder.h>

#include <cstdlib>

namespace pelacon::service::tests {

namespace {

class OwnFolder {
  public:
    OwnFolder() { setenv("PELACON_RUNTIME_DIR", folder_.Path().c_str(), 1); }

  private:
    test::TemporaryFolder folder_;
};

}  // namespace

void UseOwnRuntimeFolder()
{
    static const OwnFolder folder;
}

}  // namespace pelacon::service::tests
