// Memory that runs out.
#pragma once

namespace pelacon::test {

/// While it exists, operator new throws std::bad_alloc on the thread that made it, once so many
/// allocations have succeeded. To be linked with FailingAllocations.cpp, which replaces the
/// operator for the whole program. Objects of this class are not nested.
class FailingAllocations {
  public:
    explicit FailingAllocations(int successes) noexcept;
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// Whether one has failed.
    bool HasFailed() const noexcept;
};

}  // namespace pelacon::test
