#include <os/Debugger.h>
#include <os/windows/Handle.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>

namespace {

using pelacon::os::MakeHandle;
using pelacon::os::OwnedHandle;

constexpr DWORD kSize = 4096;
constexpr DWORD kLongest = 5000;

/// A viewer of debugger output: the system passes it the output of processes without a debugger.
class DebugViewer {
  public:
    /// The next output of this process.
    std::string Next()
    {
        for (;;) {
            SetEvent(ready_.get());
            if (WaitForSingleObject(said_.get(), kLongest) != WAIT_OBJECT_0) {
                return "nothing";
            }
            DWORD processId = 0;
            std::memcpy(&processId, view_.get(), sizeof processId);
            if (processId == GetCurrentProcessId()) {
                return view_.get() + sizeof processId;
            }
        }
    }

  private:
    struct Unmap {
        void operator()(const char* view) const { UnmapViewOfFile(view); }
    };

    OwnedHandle ready_ = MakeHandle(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY"));
    OwnedHandle said_ = MakeHandle(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY"));
    OwnedHandle buffer_ = MakeHandle(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr,
                                                        PAGE_READWRITE, 0, kSize, L"DBWIN_BUFFER"));
    std::unique_ptr<const char, Unmap> view_{
        static_cast<const char*>(MapViewOfFile(buffer_.get(), FILE_MAP_READ, 0, 0, kSize))};
};

TEST(DebuggerTest, ReceivesLines)
{
    DebugViewer viewer;
    std::thread writer([] { pelacon::os::WriteToDebugger(L"a line of the log"); });
    EXPECT_EQ(viewer.Next(), "a line of the log\n");
    writer.join();
}

}  // namespace
