// Ids that are never used twice.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace pelacon::service {

/// Why no ids can be allocated: a sentence for people.
class IdError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Allocates positive ids, of one sequence for all kinds of objects. A file keeps what was
/// allocated, also for services that are started later: an id that a client still holds from before
/// must never belong to another client. Used with the scheduler's lock held.
class IdAllocator {
  public:
    /// How many ids are reserved by one write to the file.
    static constexpr std::int32_t kBlock = 1024;

    /// Throws IdError if the file cannot be written, or was not written by this class.
    explicit IdAllocator(std::string file);

    /// Throws IdError if the next block cannot be reserved, or there are no more ids.
    std::int32_t Next();

  private:
    void ReserveBlock();

    std::string file_;
    std::int32_t next_ = 1;
    std::int32_t end_ = 1;  // after the ids reserved in the file
};

}  // namespace pelacon::service
