// Typed, strict reading of a JSON document. Errors name file, line and field.
#pragma once

#include <json/Document.h>

#include <chrono>
#include <concepts>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace pelacon::json {

class Fields;

/// Words, and what each of them means.
template <typename Meaning>
using Choices = std::initializer_list<std::pair<std::string_view, std::type_identity_t<Meaning>>>;

/// A function that reads an object's fields into a value.
template <typename Value>
using ObjectReader = void (*)(Fields& fields, Value& value);

/// A value of a document, and its position. The document must outlive it. All members throw Error.
class Reader {
  public:
    explicit Reader(const Document& document) : Reader(document, document.root, {}) {}

    bool Bool() const;

    /// A whole number between these limits, inclusive.
    template <std::integral Number>
    Number Integer(std::type_identity_t<Number> lowest = std::numeric_limits<Number>::min(),
                   std::type_identity_t<Number> highest = std::numeric_limits<Number>::max()) const
    {
        const std::optional<Number> number = As<Number>();
        if (!number || *number < lowest || *number > highest) {
            FailRange(std::to_string(lowest), std::to_string(highest), "a whole number ");
        }
        return *number;
    }

    /// A number between these limits, inclusive.
    double Number(double lowest, double highest) const;

    /// A whole number of milliseconds.
    std::chrono::milliseconds Milliseconds(std::chrono::milliseconds shortest,
                                           std::chrono::milliseconds longest) const;

    /// Text of this many bytes, without NULs.
    std::string Text(std::size_t shortest, std::size_t longest) const;

    /// A network's name: text of 1 to 32 bytes.
    std::string Ssid() const { return Text(1, 32); }

    /// A device's address, "01:23:45:67:89:AB", in the low six bytes; the first octet is the most
    /// significant.
    std::uint64_t Address() const;

    /// Bytes in hexadecimal, with or without blanks between them ("02 01 06").
    std::vector<std::uint8_t> Hex(std::size_t shortest, std::size_t longest) const;

    /// The meaning of one of these words.
    template <typename Meaning>
    Meaning Choice(Choices<Meaning> choices) const
    {
        std::string words;
        const std::string* const text = AsText();
        for (const auto& [word, meaning] : choices) {
            if (text != nullptr && *text == word) {
                return meaning;
            }
            words.append(words.empty() ? "\"" : ", \"").append(word).append("\"");
        }
        Fail("must be one of " + words);
    }

    /// A list. The function reads each element.
    template <typename Function>
    auto List(Function readElement) const
        -> std::vector<std::invoke_result_t<Function, const Reader&>>
    {
        std::vector<std::invoke_result_t<Function, const Reader&>> elements;
        for (std::size_t i = 0; i < ListOrFail().size(); ++i) {
            elements.push_back(std::invoke(readElement, Element(i)));
        }
        return elements;
    }

    /// A list of objects.
    template <typename Element>
    std::vector<Element> List(ObjectReader<Element> readFields) const
    {
        return List([&](const Reader& element) { return element.Object(readFields); });
    }

    /// An object. The function reads its fields; a field that it does not read is an error.
    void Object(const std::function<void(Fields&)>& readFields) const;

    /// The value that the function reads an object's fields into.
    template <typename Value>
    Value Object(ObjectReader<Value> readFields) const
    {
        Value value;
        Object([&](Fields& fields) { readFields(fields, value); });
        return value;
    }

    bool IsText() const { return AsText() != nullptr; }

    /// Throws an error about this value: "world.json:12: adapter.name: " and the text.
    [[noreturn]] void Fail(const std::string& what) const;

  private:
    friend class Fields;

    Reader(const Document& document, const Value& value, std::string path)
        : document_(&document), value_(&value), path_(std::move(path))
    {}

    [[noreturn]] void FailRange(const std::string& lowest, const std::string& highest,
                                const char* kind) const;
    const std::string* AsText() const { return std::get_if<std::string>(&value_->data); }
    const Value::List& ListOrFail() const;
    Reader Element(std::size_t index) const;

    template <typename Number>
    std::optional<Number> As() const
    {
        if (const auto* const number = std::get_if<std::int64_t>(&value_->data)) {
            return std::in_range<Number>(*number) ? std::optional(static_cast<Number>(*number))
                                                  : std::nullopt;
        }
        if (const auto* const number = std::get_if<std::uint64_t>(&value_->data)) {
            return std::in_range<Number>(*number) ? std::optional(static_cast<Number>(*number))
                                                  : std::nullopt;
        }
        return std::nullopt;
    }

    const Document* document_;
    const Value* value_;
    std::string path_;
};

/// The fields of one object.
class Fields {
  public:
    /// The field with this name, or nothing.
    std::optional<Reader> Optional(std::string_view name);

    /// The field with this name; an error if there is none.
    Reader Required(std::string_view name);

    /// Reads the field with this name into the target, which stays as it is if there is none. How
    /// it is read follows from the target's type, with the limits given. Instead of limits, a
    /// function may be given: an ObjectReader of the target or of a list's elements, or a function
    /// of a Reader that returns the value, or the value of a list's elements.
    template <typename Target, typename... How>
    void Read(std::string_view name, Target& target, const How&... how)
    {
        if (const std::optional<Reader> field = Optional(name)) {
            ReadInto(*field, target, how...);
        }
    }

    /// The same for a field that is one of these words.
    template <typename Target>
    void Read(std::string_view name, Target& target, Choices<Target> choices)
    {
        if (const std::optional<Reader> field = Optional(name)) {
            target = field->Choice<Target>(choices);
        }
    }

    /// Throws an error about the object as a whole.
    [[noreturn]] void Fail(const std::string& what) const { reader_.Fail(what); }

  private:
    friend class Reader;

    Fields(const Reader& reader, const Value::Object& object) : reader_(reader), object_(object) {}

    static void ReadInto(const Reader& field, bool& target) { target = field.Bool(); }
    static void ReadInto(const Reader& field, double& target, double lowest, double highest)
    {
        target = field.Number(lowest, highest);
    }
    template <std::integral Number, std::integral... Limits>
    static void ReadInto(const Reader& field, Number& target, Limits... limits)
    {
        target = field.Integer<Number>(static_cast<Number>(limits)...);
    }
    static void ReadInto(const Reader& field, std::string& target, std::integral auto shortest,
                         std::integral auto longest)
    {
        target = field.Text(static_cast<std::size_t>(shortest), static_cast<std::size_t>(longest));
    }
    static void ReadInto(const Reader& field, std::chrono::milliseconds& target,
                         std::chrono::milliseconds shortest, std::chrono::milliseconds longest)
    {
        target = field.Milliseconds(shortest, longest);
    }
    template <typename Target, typename... Limits>
    requires(!std::invocable<Limits, const Reader&> &&
             ...) static void ReadInto(const Reader& field, std::optional<Target>& target,
                                       Limits... limits)
    {
        ReadInto(field, target.emplace(), limits...);
    }
    template <typename Target>
    static void ReadInto(const Reader& field, Target& target, ObjectReader<Target> readFields)
    {
        field.Object([&](Fields& fields) { readFields(fields, target); });
    }
    template <typename Element>
    static void ReadInto(const Reader& field, std::vector<Element>& target,
                         ObjectReader<Element> readFields)
    {
        target = field.List(readFields);
    }
    template <typename Target, std::invocable<const Reader&> Function>
    static void ReadInto(const Reader& field, Target& target, const Function& read)
    {
        if constexpr (std::is_assignable_v<Target&,
                                           std::invoke_result_t<Function, const Reader&>>) {
            target = std::invoke(read, field);
        } else {
            target = field.List(read);
        }
    }

    void RefuseOthers() const;
    std::string PathOf(std::string_view name) const;

    const Reader& reader_;
    const Value::Object& object_;
    std::vector<std::string> known_;
};

}  // namespace pelacon::json
