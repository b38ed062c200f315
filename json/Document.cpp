#include <json/Document.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <iterator>
#include <utility>

namespace pelacon::json {

namespace {

constexpr std::size_t kDeepest = 32;

/// The position of the parser. It reads one character past a number, so the line before the last
/// character is kept, too.
struct Position {
    std::size_t line = 1;
    std::size_t lineBefore = 1;
};

/// Reads characters and counts lines.
class CountingIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    CountingIterator(const char* at, Position& position) : at_(at), position_(&position) {}

    reference operator*() const { return *at_; }
    CountingIterator& operator++()
    {
        position_->lineBefore = position_->line;
        position_->line += *at_ == '\n' ? 1 : 0;
        ++at_;
        return *this;
    }
    CountingIterator operator++(int)
    {
        CountingIterator before = *this;
        ++*this;
        return before;
    }
    bool operator==(const CountingIterator& other) const { return at_ == other.at_; }

  private:
    const char* at_;
    Position* position_;
};

/// Called by the parser, which defines the names of the member functions.
class Builder {
  public:
    Builder(Document& document, const Position& position) : document_(document), position_(position)
    {}

    bool null() { return Put(std::monostate(), position_.line); }
    bool boolean(bool value) { return Put(value, position_.line); }
    bool number_integer(std::int64_t value) { return Put(value, position_.lineBefore); }
    bool number_unsigned(std::uint64_t value)
    {
        return std::in_range<std::int64_t>(value)
                   ? Put(static_cast<std::int64_t>(value), position_.lineBefore)
                   : Put(value, position_.lineBefore);
    }
    bool number_float(double value, const std::string& /*text*/)
    {
        return Put(value, position_.lineBefore);
    }
    bool string(std::string& value) { return Put(std::move(value), position_.line); }
    bool binary(std::vector<std::uint8_t>& /*value*/) { return false; }

    bool start_object(std::size_t /*size*/) { return Open(Value::Object()); }
    bool end_object() { return Close(); }
    bool start_array(std::size_t /*size*/) { return Open(Value::List()); }
    bool end_array() { return Close(); }

    bool key(std::string& name)
    {
        Value::Object& object = std::get<Value::Object>(open_.back()->data);
        const bool twice = std::any_of(object.begin(), object.end(),
                                       [&](const Member& member) { return member.name == name; });
        if (twice) {
            Fail(position_.line, name + ": stands here twice");
        }
        object.push_back({std::move(name), position_.line, {}});
        return true;
    }

    /// Only the last part of the exception's text says what is wrong.
    bool parse_error(std::size_t /*offset*/, const std::string& /*token*/,
                     const nlohmann::json::exception& error)
    {
        const std::string text = error.what();
        const std::size_t start = text.find(": ");
        Fail(position_.line, start != std::string::npos ? text.substr(start + 2) : text);
    }

  private:
    [[noreturn]] void Fail(std::size_t line, const std::string& what) const
    {
        throw Error(document_.name + ":" + std::to_string(line) + ": " + what);
    }

    /// Where the next value belongs.
    Value& Place()
    {
        if (open_.empty()) {
            return document_.root;
        }
        Value& parent = *open_.back();
        if (auto* const list = std::get_if<Value::List>(&parent.data)) {
            return list->emplace_back();
        }
        return std::get<Value::Object>(parent.data).back().value;
    }

    template <typename Data>
    bool Put(Data data, std::size_t line)
    {
        Place() = Value{std::move(data), line};
        return true;
    }

    // Nothing is added beside an open list or object, so its address does not change.
    template <typename Data>
    bool Open(Data data)
    {
        if (open_.size() == kDeepest) {
            Fail(position_.line, "nested too deeply");
        }
        Value& place = Place();
        place = Value{std::move(data), position_.line};
        open_.push_back(&place);
        return true;
    }

    bool Close()
    {
        open_.pop_back();
        return true;
    }

    Document& document_;
    const Position& position_;
    std::vector<Value*> open_;
};

}  // namespace

Document Parse(std::string_view text, const std::string& name)
{
    Document document{name, {}};
    Position position;
    Builder builder(document, position);
    const CountingIterator begin(text.data(), position);
    const CountingIterator end(text.data() + text.size(), position);
    nlohmann::json::sax_parse(begin, end, &builder, nlohmann::json::input_format_t::json,
                              /*strict=*/true, /*ignore_comments=*/true);
    return document;
}

}  // namespace pelacon::json
