// Standard output: lines for people, or JSON lines for programs.
#pragma once

#include <os/Terminal.h>

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pelacon::ctl {

/// Each line is flushed at once, so that a reader at the other end of a pipe keeps up.
class Console {
  public:
    /// How text looks. Without effect where the output is not a terminal, or NO_COLOR is set.
    enum class Style { kBold, kDim, kGood, kWarning, kBad };

    Console();

    /// Whether the user asked for --json.
    bool Json() const { return json_; }
    void SetJson(bool json) { json_ = json; }

    bool IsTerminal() const { return terminal_; }

    /// 80 by 24 where the output is not a terminal.
    os::TerminalSize Size() const;

    /// The text with the escape sequences that show it in this style.
    std::string Styled(Style style, std::string_view text) const;

    /// A title and contents.
    using Row = std::pair<std::string, std::string>;

    /// Rows in two columns, to follow a heading: each row begins with a line break. Contents that
    /// are too wide are broken at blanks.
    std::string Rows(const std::vector<Row>& rows,
                     std::size_t width = std::numeric_limits<std::size_t>::max()) const;

    /// A line for people, which is not written with --json.
    void Say(std::string_view line) const;

    /// A result in both forms: writes the record with --json, otherwise the line.
    void Report(const nlohmann::ordered_json& record, std::string_view line) const;

    /// Text without a line end, such as escape sequences that move the cursor.
    void Put(std::string_view text) const;

  private:
    void Write(std::string_view line) const;

    bool terminal_;
    bool colours_;
    bool json_ = false;
};

}  // namespace pelacon::ctl
