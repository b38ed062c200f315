// JSON to be written, as answers to commands are.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <ranges>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace pelacon::json {

/// A value to be written. Sources that only make values need no JSON library. An object is made of
/// pairs, or field by field:
///
///     Output answer{{"state", "on"}, {"listeners", listeners.size()}};
///     answer["scanning"] = true;
class Output {
  public:
    struct Field;
    using List = std::vector<Output>;
    /// Names and values of fields, in the same order.
    struct Object {
        std::vector<std::string> names;
        std::vector<Output> values;
    };
    using Data = std::variant<Object, List, bool, std::int64_t, std::uint64_t, double, std::string>;

    /// An object without fields.
    Output() = default;

    // NOLINTBEGIN(google-explicit-constructor): fields take values of any of these types
    Output(std::initializer_list<Field> fields);

    template <typename Number>
    requires(std::is_arithmetic_v<Number>) Output(Number number) : data_(Widened(number)) {}

    Output(const char* text) : data_(std::string(text)) {}
    Output(std::string_view text) : data_(std::string(text)) {}
    Output(std::string text) : data_(std::move(text)) {}

    Output(List list) : data_(std::move(list)) {}
    // NOLINTEND(google-explicit-constructor)

    /// The object's field of this name; adds it if there is none. For objects only.
    Output& operator[](std::string_view name);

    const Data& Get() const { return data_; }

  private:
    template <typename Number>
    static auto Widened(Number number)
    {
        if constexpr (std::same_as<Number, bool>) {
            return number;
        } else if constexpr (std::floating_point<Number>) {
            return static_cast<double>(number);
        } else if constexpr (std::unsigned_integral<Number>) {
            return static_cast<std::uint64_t>(number);
        } else {
            return static_cast<std::int64_t>(number);
        }
    }

    Data data_;
};

struct Output::Field {
    std::string name;
    Output value;
};

/// A list with an element for each of these values.
template <std::ranges::input_range Values>
Output::List ListOf(const Values& values)
{
    return Output::List(std::ranges::begin(values), std::ranges::end(values));
}

/// The value as one line, the fields of objects in the order of their names. Bytes that are not
/// UTF-8, such as those of a device's name, become U+FFFD.
std::string Write(const Output& output);

}  // namespace pelacon::json
