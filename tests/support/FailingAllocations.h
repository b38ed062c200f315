// Memory that runs out.
#pragma once

namespace pelacon::test {

/// Makes allocations of the thread that constructs it fail: operator new succeeds `successes` times
/// and then throws std::bad_alloc, until the object is destroyed. Link FailingAllocations.cpp,
/// which replaces the operator for the whole program. Objects of this class must not be nested.
class FailingAllocations {
  public:
    explicit FailingAllocations(int successes) noexcept;
    ~FailingAllocations();
    FailingAllocations(const FailingAllocations&) = delete;
    FailingAllocations& operator=(const FailingAllocations&) = delete;

    /// Whether an allocation has failed.
    bool HasFailed() const noexcept;
};

}  // namespace pelacon::test
