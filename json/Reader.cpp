#include <json/Reader.h>
#include <protocol/Codec.h>
#include <protocol/Hex.h>

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace pelacon::json {

namespace {

/// Pairs of hexadecimal digits, separated or, if the separator is not required, not.
std::optional<std::vector<std::uint8_t>> BytesOf(std::string_view text, char separator,
                                                 bool separatorNeeded)
{
    std::vector<std::uint8_t> bytes;
    while (!text.empty()) {
        if (!bytes.empty() && text.front() == separator) {
            text.remove_prefix(1);
        } else if (!bytes.empty() && separatorNeeded) {
            return std::nullopt;
        }
        const auto byte = protocol::TakeHexByte(text);
        if (!byte) {
            return std::nullopt;
        }
        bytes.push_back(*byte);
    }
    return bytes;
}

std::string TextOf(double number)
{
    std::ostringstream text;
    text << number;
    return text.str();
}

}  // namespace

bool Reader::Bool() const
{
    const auto* const value = std::get_if<bool>(&value_->data);
    if (value == nullptr) {
        Fail("must be true or false");
    }
    return *value;
}

double Reader::Number(double lowest, double highest) const
{
    std::optional<double> number;
    if (const auto* const real = std::get_if<double>(&value_->data)) {
        number = *real;
    } else if (const auto whole = As<std::int64_t>()) {
        number = static_cast<double>(*whole);
    }
    if (!number || !(*number >= lowest && *number <= highest)) {
        FailRange(TextOf(lowest), TextOf(highest), "a number ");
    }
    return *number;
}

std::chrono::milliseconds Reader::Milliseconds(std::chrono::milliseconds shortest,
                                               std::chrono::milliseconds longest) const
{
    return std::chrono::milliseconds(Integer<std::int64_t>(shortest.count(), longest.count()));
}

std::string Reader::Text(std::size_t shortest, std::size_t longest) const
{
    const std::string* const text = AsText();
    if (text == nullptr || text->size() < shortest || text->size() > longest) {
        Fail("must be text of " + std::to_string(shortest) + " to " + std::to_string(longest) +
             " bytes");
    }
    if (text->find('\0') != std::string::npos) {
        Fail("must not hold a NUL");
    }
    return *text;
}

std::uint64_t Reader::Address() const
{
    const std::string* const text = AsText();
    const auto bytes = text != nullptr ? BytesOf(*text, ':', true) : std::nullopt;
    if (!bytes || bytes->size() != 6) {
        Fail("must be an address such as \"01:23:45:67:89:AB\"");
    }
    return protocol::AddressOf(*bytes);
}

std::vector<std::uint8_t> Reader::Hex(std::size_t shortest, std::size_t longest) const
{
    const std::string* const text = AsText();
    auto bytes = text != nullptr ? BytesOf(*text, ' ', false) : std::nullopt;
    if (!bytes || bytes->size() < shortest || bytes->size() > longest) {
        Fail("must be " + std::to_string(shortest) + " to " + std::to_string(longest) +
             " bytes in hexadecimal, such as \"02 01 06\"");
    }
    return *std::move(bytes);
}

void Reader::Object(const std::function<void(Fields&)>& readFields) const
{
    const auto* const object = std::get_if<Value::Object>(&value_->data);
    if (object == nullptr) {
        Fail("must be an object, in braces");
    }
    Fields fields(*this, *object);
    readFields(fields);
    fields.RefuseOthers();
}

const Value::List& Reader::ListOrFail() const
{
    const auto* const list = std::get_if<Value::List>(&value_->data);
    if (list == nullptr) {
        Fail("must be a list, in brackets");
    }
    return *list;
}

Reader Reader::Element(std::size_t index) const
{
    return {*document_, ListOrFail()[index], path_ + "[" + std::to_string(index) + "]"};
}

void Reader::Fail(const std::string& what) const
{
    throw Error(document_->name + ":" + std::to_string(value_->line) + ": " + path_ +
                (path_.empty() ? "" : ": ") + what);
}

void Reader::FailRange(const std::string& lowest, const std::string& highest,
                       const char* kind) const
{
    Fail(std::string("must be ") + kind + "between " + lowest + " and " + highest);
}

std::optional<Reader> Fields::Optional(std::string_view name)
{
    known_.emplace_back(name);
    const auto found = std::find_if(object_.begin(), object_.end(),
                                    [&](const Member& member) { return member.name == name; });
    if (found == object_.end()) {
        return std::nullopt;
    }
    return Reader(*reader_.document_, found->value, PathOf(name));
}

Reader Fields::Required(std::string_view name)
{
    std::optional<Reader> field = Optional(name);
    if (!field) {
        Fail("the field \"" + std::string(name) + "\" is missing");
    }
    return *std::move(field);
}

std::string Fields::PathOf(std::string_view name) const
{
    return reader_.path_ + (reader_.path_.empty() ? "" : ".") + std::string(name);
}

void Fields::RefuseOthers() const
{
    for (const Member& member : object_) {
        if (std::find(known_.begin(), known_.end(), member.name) != known_.end()) {
            continue;
        }
        std::string names;
        for (const std::string& name : known_) {
            names.append(names.empty() ? "" : ", ").append(name);
        }
        throw Error(reader_.document_->name + ":" + std::to_string(member.line) + ": " +
                    PathOf(member.name) + ": unknown field; there may be " + names);
    }
}

}  // namespace pelacon::json
