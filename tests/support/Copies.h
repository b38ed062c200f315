// Bounded copies that fail when a test wants them to.
#pragma once

namespace pelacon::test {

class Copies {
  public:
    /// The next memcpy_s fails, as one whose data do not fit: it zeroes the destination and returns
    /// ERANGE. Not on Windows, where the C runtime owns memcpy_s.
    static void FailNext();
    /// The copies of after that one: FailAfter(0) is FailNext().
    static void FailAfter(int good);
    static void Reset();
};

}  // namespace pelacon::test
