#include "PipeConnection.h"
#include "PipeName.h"
#include "PipeSecurity.h"

#include <IPCMessage/IPCMessageServer.h>
#include <IPCMessage/Transport.h>
#include <os/windows/Wide.h>

#include <windows.h>

#include <array>
#include <limits>
#include <system_error>
// clang-format off: builds on windows.h
#include <bcrypt.h>
// clang-format on

namespace pelacon::ipc {

namespace {

using os::MakeHandle;
using os::OwnedHandle;
using os::Wide;

constexpr DWORD kRetryMs = 50;

std::string ErrorText(DWORD error)
{
    return std::system_category().message(static_cast<int>(error));
}

class PipeListener final : public Listener {
  public:
    explicit PipeListener(const PipePlace& place)
        : pipe_(place.pipe), stateFile_(place.folder + "\\" + place.base + ".state")
    {
        CreateDirectoryW(Wide(place.folder).c_str(), nullptr);
        TakeLock(place.folder + "\\" + place.base + ".lock");
        next_ = OfferInstance(FILE_FLAG_FIRST_PIPE_INSTANCE);
        if (!next_) {
            throw IPCServerError("cannot offer the pipe " + pipe_ + ": " +
                                 ErrorText(GetLastError()));
        }
    }

    std::unique_ptr<Connection> Accept() override
    {
        for (;;) {
            while (!next_) {
                next_ = OfferInstance(0);
                // There may be memory and handles again later.
                if (!next_ && WaitForSingleObject(down_.get(), kRetryMs) == WAIT_OBJECT_0) {
                    return nullptr;
                }
            }
            if (!AwaitClient()) {
                return nullptr;
            }
            OwnedHandle connected = std::move(next_);
            next_ = OfferInstance(0);
            return std::make_unique<PipeConnection>(std::move(connected), PipeEnd::kServer);
        }
    }

    /// A service of the system serves every user whom the pipe's access list admits; any other
    /// service serves its own user and the system.
    bool Admits(const Peer& peer) const override
    {
        return !peer.user.empty() && (IsSystem(OwnUser()) || peer.isOperator);
    }

    std::size_t MostConnections() const noexcept override
    {
        return std::numeric_limits<std::size_t>::max();
    }
    bool HasRoom() override { return true; }

    void Shutdown() noexcept override { SetEvent(down_.get()); }
    void Close() noexcept override { next_.reset(); }

    const std::string& Address() const noexcept override { return pipe_; }
    const std::string& StateFile() const noexcept override { return stateFile_; }

  private:
    /// The lock is a file that no other process can open while this service lives. It also works
    /// where the first-instance flag has no effect.
    void TakeLock(const std::string& path)
    {
        lock_ = MakeHandle(CreateFileW(Wide(path).c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
        if (lock_) {
            return;
        }
        const DWORD error = GetLastError();
        if (error == ERROR_SHARING_VIOLATION) {
            throw IPCServerError("the pipe " + pipe_ + " is taken by another service");
        }
        throw IPCServerError("cannot write " + path + ": " + ErrorText(error));
    }

    OwnedHandle OfferInstance(DWORD firstInstance)
    {
        constexpr DWORD kBuffer = 256 * 1024;
        const SecurityDescriptor access = PipeAccess();
        if (!access) {
            return nullptr;
        }
        SECURITY_ATTRIBUTES attributes{sizeof attributes, access.get(), FALSE};
        return MakeHandle(CreateNamedPipeW(
            Wide(pipe_).c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED | firstInstance,
            PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT | PIPE_REJECT_REMOTE_CLIENTS,
            PIPE_UNLIMITED_INSTANCES, kBuffer, kBuffer, 0, &attributes));
    }

    /// Waits until a client opens the offered instance; false after Shutdown.
    bool AwaitClient()
    {
        OVERLAPPED overlapped{};
        overlapped.hEvent = connected_.get();
        if (ConnectNamedPipe(next_.get(), &overlapped) == FALSE) {
            const DWORD error = GetLastError();
            if (error != ERROR_IO_PENDING) {
                // A client may have come and gone already: the first receive then fails.
                return WaitForSingleObject(down_.get(), 0) != WAIT_OBJECT_0;
            }
        }
        const HANDLE events[] = {connected_.get(), down_.get()};
        if (WaitForMultipleObjects(2, events, FALSE, INFINITE) == WAIT_OBJECT_0) {
            return true;
        }
        DWORD ignored = 0;
        CancelIoEx(next_.get(), &overlapped);
        GetOverlappedResult(next_.get(), &overlapped, &ignored, TRUE);
        return false;
    }

    std::string pipe_;
    std::string stateFile_;
    OwnedHandle lock_;
    OwnedHandle next_;
    OwnedHandle connected_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
    OwnedHandle down_{CreateEventW(nullptr, TRUE, FALSE, nullptr)};
};

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): the listener of Linux keeps the function
std::unique_ptr<Listener> Listen(const std::wstring& pipeName, Warn /*warn*/)
{
    const auto place = FindPipePlace(pipeName);
    if (!place) {
        throw IPCServerError("the pipe's name is not usable");
    }
    return std::make_unique<PipeListener>(*place);
}

Token DrawToken()
{
    Token token{};
    const auto status = BCryptGenRandom(nullptr, token.data(), static_cast<ULONG>(token.size()),
                                        BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    if (status != 0) {
        throw std::system_error(static_cast<int>(status), std::system_category(),
                                "BCryptGenRandom");
    }
    return token;
}

}  // namespace pelacon::ipc
