// Which processors the measured processes use.
#pragma once

#include <sched.h>

#include <stdexcept>

namespace pelacon::bench {

/// The processors that this process and its children may use.
class Processors {
  public:
    Processors() { sched_getaffinity(0, sizeof all_, &all_); }

    /// Restricts them to the last one; returns its number.
    int PinToOne() const
    {
        int last = 0;
        for (int number = 0; number < CPU_SETSIZE; ++number) {
            if (CPU_ISSET(number, &all_)) {
                last = number;
            }
        }
        cpu_set_t one;
        CPU_ZERO(&one);
        CPU_SET(last, &one);
        Use(one);
        return last;
    }

    void UseAll() const { Use(all_); }

  private:
    static void Use(const cpu_set_t& set)
    {
        if (sched_setaffinity(0, sizeof set, &set) != 0) {
            throw std::runtime_error("Cannot bind this process to a processor.");
        }
    }

    cpu_set_t all_{};
};

}  // namespace pelacon::bench
