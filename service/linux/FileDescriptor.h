// A descriptor that is closed with its owner.
#pragma once

#include <unistd.h>

#include <utility>

namespace pelacon::service::linux_radios {

class FileDescriptor {
  public:
    FileDescriptor() = default;
    explicit FileDescriptor(int number) noexcept : number_(number) {}
    ~FileDescriptor() { Close(); }
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other) {
            Close();
            number_ = std::exchange(other.number_, -1);
        }
        return *this;
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    int Get() const noexcept { return number_; }
    explicit operator bool() const noexcept { return number_ >= 0; }
    int Release() noexcept { return std::exchange(number_, -1); }

    void Close() noexcept
    {
        if (number_ >= 0) {
            close(std::exchange(number_, -1));
        }
    }

  private:
    int number_ = -1;
};

}  // namespace pelacon::service::linux_radios
