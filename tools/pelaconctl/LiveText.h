// Lines that are drawn over and over in one place of a terminal.
#pragma once

#include <tools/pelaconctl/Console.h>

#include <cstddef>
#include <string>
#include <vector>

namespace pelacon::ctl {

class LiveText {
  public:
    explicit LiveText(const Console& console) : console_(console) {}

    /// Draws these lines in place of the ones before. None may be wider than the terminal, nor all
    /// of them higher.
    void Draw(const std::vector<std::string>& lines);

  private:
    const Console& console_;
    std::size_t drawn_ = 0;
};

}  // namespace pelacon::ctl
