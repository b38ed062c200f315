// The owner of a pipe, as its clients see it.
#include <IPCMessage/windows/PipeConnection.h>
#include <IPCMessage/windows/PipeSecurity.h>
#include <os/windows/Handle.h>

#include <gtest/gtest.h>
#include <windows.h>
// clang-format off: builds on windows.h
#include <sddl.h>
// clang-format on

#include <string>
#include <utility>

namespace pelacon::ipc {

namespace {

constexpr const wchar_t* kAdministratorsOwner = L"O:BAD:P(A;;GA;;;WD)";
constexpr const char* kAdministrators = "S-1-5-32-544";

SecurityDescriptor Access(const wchar_t* text)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    ConvertStringSecurityDescriptorToSecurityDescriptorW(text, SDDL_REVISION_1, &descriptor,
                                                         nullptr);
    return SecurityDescriptor(descriptor);
}

/// A pipe of this process with both its ends.
struct Pipe {
    explicit Pipe(const SecurityDescriptor& access)
    {
        const std::wstring name =
            LR"(\\.\pipe\pelacon-test-)" + std::to_wstring(GetCurrentProcessId());
        SECURITY_ATTRIBUTES attributes{sizeof attributes, access.get(), FALSE};
        offered =
            os::MakeHandle(CreateNamedPipeW(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                            PIPE_TYPE_MESSAGE, 1, 0, 0, 0, &attributes));
        opened = os::MakeHandle(CreateFileW(name.c_str(), kClientAccess, 0, nullptr, OPEN_EXISTING,
                                            FILE_FLAG_OVERLAPPED, nullptr));
    }

    os::OwnedHandle offered;
    os::OwnedHandle opened;
};

TEST(PipeSecurityTest, ThePipeOfAServiceBelongsToItsUser)
{
    const SecurityDescriptor access = PipeAccess();
    ASSERT_TRUE(access);
    const Pipe pipe(access);
    ASSERT_TRUE(pipe.opened) << GetLastError();
    EXPECT_EQ(OwnerOfPipe(pipe.opened.get()), OwnUser());
    EXPECT_TRUE(IsTrustedServer(OwnerOfPipe(pipe.opened.get())));
}

// The process that offered a pipe may have ended, and its id may belong to another process.
TEST(PipeSecurityTest, TheOwnerOfAPipeCountsBeforeTheUserOfItsProcess)
{
    Pipe pipe(Access(kAdministratorsOwner));
    if (!pipe.offered) {
        GTEST_SKIP() << "only administrators may offer a pipe that belongs to all of them: error "
                     << GetLastError();
    }
    ASSERT_TRUE(pipe.opened) << GetLastError();
    const PipeConnection client(std::move(pipe.opened), PipeEnd::kClient);
    EXPECT_EQ(client.GetPeer().processId, GetCurrentProcessId());
    EXPECT_EQ(client.GetPeer().user, kAdministrators);
    EXPECT_FALSE(client.GetPeer().isOperator);
}

TEST(PipeSecurityTest, ANullHandleHasNoTrustedOwner)
{
    EXPECT_FALSE(IsTrustedServer(OwnerOfPipe(nullptr)));
}

}  // namespace

}  // namespace pelacon::ipc
