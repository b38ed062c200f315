// File descriptors that a child made by fork does not share.
#pragma once

#include <cstdint>

namespace pelacon::ipc {

/// Owns a file descriptor, never one of the standard three: where a program was started without
/// those, what is written to them by mistake must not end up in a connection. In a child that fork
/// makes of this process every one of them is closed on the spot and reads as -1: the child cannot
/// disturb the parent's connections, nor keep them open when the parent dies.
class Descriptor {
  public:
    Descriptor() = default;
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    /// Closes what it has, then takes what `open` returns (a descriptor, or -1). No fork comes
    /// between the two, so `open` must not block. Returns whether it has one now.
    template <typename Open>
    bool Take(const Open& open)
    {
        Close();
        const ForkGuard guard;
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

    /// Holds off fork, and guards the list of all descriptors.
    class ForkGuard {
      public:
        ForkGuard() noexcept;
        ~ForkGuard();
        ForkGuard(const ForkGuard&) = delete;
        ForkGuard& operator=(const ForkGuard&) = delete;
    };

    static int AboveStandard(int descriptor) noexcept;
    void Enlist() noexcept;

    int fd_ = -1;
    Descriptor* next_ = nullptr;
    Descriptor* previous_ = nullptr;
};

}  // namespace pelacon::ipc
