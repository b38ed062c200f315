// What a command says on standard output: lines for people, or JSON lines for programs.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>

namespace pelacon::ctl {

/// One line each, written and flushed at once, so that a reader at the end of a pipe keeps up.
class Console {
  public:
    /// How a piece of text is to look. Plain wherever colours are not wanted: where the output is
    /// no terminal, or NO_COLOR is set.
    enum class Style { kBold, kDim, kGood, kWarning, kBad };

    Console();

    /// Whether the user asked for --json.
    bool Json() const { return json_; }
    void SetJson(bool json) { json_ = json; }

    bool IsTerminal() const { return terminal_; }

    /// Columns to lay tables out for: the terminal's, or 80 where there is none.
    int Width() const;

    /// Rows of the terminal, or 24 where there is none.
    int Height() const;

    /// The text as it should be written to appear in this style.
    std::string Styled(Style style, std::string_view text) const;

    /// A line for people. With --json it is not written: what a program needs goes into a record.
    void Say(std::string_view line) const;

    /// What happened, in both forms, of which one is written.
    void Report(const nlohmann::ordered_json& record, std::string_view line) const;

    /// Text as it is, for what moves about on a terminal.
    void Put(std::string_view text) const;

  private:
    void Write(std::string_view line) const;

    bool terminal_;
    bool colours_;
    bool json_ = false;
};

}  // namespace pelacon::ctl
