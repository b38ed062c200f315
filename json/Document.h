// Parsed JSON with the line of each value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace pelacon::json {

/// What is wrong with a text, and where: "world.json:12: adapter.name: must be text".
class Error : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct Member;

struct Value {
    using List = std::vector<Value>;
    using Object = std::vector<Member>;

    /// Whole numbers that fit are std::int64_t, larger ones std::uint64_t.
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, List,
                 Object>
        data;
    std::size_t line = 0;
};

struct Member {
    std::string name;
    std::size_t line = 0;  // of its name
    Value value;
};

struct Document {
    std::string name;  // a file's name, for messages
    Value root;
};

/// Parses JSON with // and /* */ comments. Throws Error if it is not JSON, a name occurs twice in
/// an object, or the nesting is too deep.
Document Parse(std::string_view text, const std::string& name);

}  // namespace pelacon::json
