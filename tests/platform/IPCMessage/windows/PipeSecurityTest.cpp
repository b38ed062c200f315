// Whose a pipe is, as its clients see it.
#include <IPCMessage/windows/PipeSecurity.h>
#include <os/windows/Handle.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

namespace pelacon::ipc {

namespace {

TEST(PipeSecurityTest, APipeBelongsToWhoOffersIt)
{
    const std::string name = R"(\\.\pipe\pelacon-test-)" + std::to_string(GetCurrentProcessId());
    const SecurityDescriptor access = PipeAccess();
    ASSERT_TRUE(access);
    SECURITY_ATTRIBUTES attributes{sizeof attributes, access.get(), FALSE};
    const os::OwnedHandle offered =
        os::MakeHandle(CreateNamedPipeA(name.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                        PIPE_TYPE_MESSAGE, 1, 0, 0, 0, &attributes));
    ASSERT_TRUE(offered) << GetLastError();
    const os::OwnedHandle opened = os::MakeHandle(
        CreateFileA(name.c_str(), kClientAccess, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(opened) << GetLastError();
    EXPECT_EQ(OwnerOfPipe(opened.get()), OwnUser());
    EXPECT_TRUE(IsTrustedServer(OwnerOfPipe(opened.get())));
}

TEST(PipeSecurityTest, WhatIsNoPipeBelongsToNobodyTrusted)
{
    EXPECT_FALSE(IsTrustedServer(OwnerOfPipe(nullptr)));
}

}  // namespace

}  // namespace pelacon::ipc
