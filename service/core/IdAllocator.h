// Ids that are never given twice.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace pelacon::service {

/// Why ids cannot be given out safely, in a sentence for people.
class IdError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Gives out positive ids, for every kind of thing from one row. What was given is remembered in a
/// file, so that a service started later goes on behind it: a client that still holds an id from
/// before must never find it to be somebody else's. Used under the world's lock.
class IdAllocator {
  public:
    /// Ids are reserved in the file by the block: one write for so many ids.
    static constexpr std::int32_t kBlock = 1024;

    /// Throws IdError when the file cannot be written or does not read as one of this class.
    explicit IdAllocator(std::string file);

    /// Throws IdError when the next block cannot be reserved, or none are left.
    std::int32_t Next();

  private:
    void ReserveBlock();

    std::string file_;
    std::int32_t next_ = 1;
    std::int32_t end_ = 1;  // behind the ids reserved in the file
};

}  // namespace pelacon::service
