// File descriptors that a child made by fork does not share.
#pragma once

#include <os/Fork.h>

namespace pelacon::ipc {

/// Owns a file descriptor other than 0, 1 and 2: what a program that was started without standard
/// streams prints must not get into a connection. In a child process made by fork every Descriptor
/// is closed at once and reads as -1, so that the child neither disturbs the parent's connections
/// nor keeps them open after the parent's end.
class Descriptor {
  public:
    Descriptor() = default;
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    /// Closes the descriptor that it owns and takes the one that `open` returns, if that is not -1.
    /// There is no fork between the two, so `open` must not block. Returns whether it owns one now.
    template <typename Open>
    bool Take(const Open& open)
    {
        Close();
        const os::ForkHold hold;
        fd_ = AboveStandard(open());
        if (fd_ >= 0) {
            Enlist();
        }
        return fd_ >= 0;
    }

    void Close() noexcept;

    int Get() const noexcept { return fd_; }
    explicit operator bool() const noexcept { return fd_ >= 0; }

  private:
    friend struct DescriptorList;

    static int AboveStandard(int descriptor) noexcept;
    void Enlist() noexcept;

    int fd_ = -1;
    Descriptor* next_ = nullptr;
    Descriptor* previous_ = nullptr;
};

}  // namespace pelacon::ipc
