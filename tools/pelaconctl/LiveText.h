// Lines on a terminal that are drawn again and again in the same place.
#pragma once

#include <tools/pelaconctl/Console.h>

#include <cstddef>
#include <string>
#include <vector>

namespace pelacon::ctl {

class LiveText {
  public:
    explicit LiveText(const Console& console) : console_(console) {}

    /// Replaces the lines drawn before. A line must not be wider than the terminal, and there must
    /// not be more lines than rows.
    void Draw(const std::vector<std::string>& lines);

  private:
    const Console& console_;
    std::size_t drawn_ = 0;
};

}  // namespace pelacon::ctl
