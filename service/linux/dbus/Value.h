// What D-Bus messages are made of.
#pragma once

#include <service/linux/FileDescriptor.h>

#include <concepts>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace pelacon::service::linux_radios::dbus {

class Value;

using Bytes = std::vector<std::uint8_t>;

struct ObjectPath {
    std::string text;
    auto operator<=>(const ObjectPath&) const = default;
};

/// An array of anything but bytes (these are `Bytes`). The signature of the elements is kept, as an
/// empty array has one, too.
struct Array {
    std::string element;
    std::vector<Value> values;
};

struct Dictionary {
    std::string key;
    std::string value;
    std::vector<std::pair<Value, Value>> entries;
};

struct Structure {
    std::vector<Value> fields;
};

/// Never empty.
struct Variant {
    std::shared_ptr<const Value> value;
};

/// A received descriptor, or one to send. Copies share it.
struct Handle {
    std::shared_ptr<const FileDescriptor> descriptor;
};

template <typename Type, typename Variant>
inline constexpr bool IsOneOf = false;
template <typename Type, typename... Types>
inline constexpr bool IsOneOf<Type, std::variant<Types...>> = (std::same_as<Type, Types> || ...);

/// One value of any type.
class Value {
  public:
    using Content = std::variant<bool, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                                 std::uint32_t, std::int64_t, std::uint64_t, double, std::string,
                                 ObjectPath, Bytes, Array, Dictionary, Structure, Variant, Handle>;

    /// Of exactly the type that is given, so that no number becomes another type by itself.
    template <typename Type>
    requires IsOneOf<Type, Content> Value(Type content)
        : content_(std::in_place_type<Type>, std::move(content))
    {}
    Value(const char* text) : content_(std::string(text)) {}

    const Content& Get() const noexcept { return content_; }

    /// The content, or that of the variant that this is; nothing if it has another type.
    template <typename Type>
    const Type* As() const noexcept
    {
        const Value* value = this;
        while (const auto* variant = std::get_if<Variant>(&value->content_)) {
            value = variant->value.get();
        }
        return std::get_if<Type>(&value->content_);
    }

    template <typename Type>
    Type Or(Type otherwise) const
    {
        const Type* const content = As<Type>();
        return content != nullptr ? *content : std::move(otherwise);
    }

    /// Its type in D-Bus's notation.
    std::string Signature() const;

  private:
    Content content_;
};

/// What a message carries.
using Arguments = std::vector<Value>;

/// The properties of an interface, or options by name. A value is never a variant itself.
using Properties = std::map<std::string, Value>;

/// The interfaces of an object.
using Interfaces = std::map<std::string, Properties>;

Value InVariant(Value value);

/// The entries of a dictionary of texts and variants (a{sv}); other entries are left out.
Properties ReadProperties(const Value& value);
Value MakeProperties(const Properties& properties);

/// a{sa{sv}}
Interfaces ReadInterfaces(const Value& value);
Value MakeInterfaces(const Interfaces& interfaces);

/// The texts of an array of texts or of object paths.
std::vector<std::string> ReadTexts(const Value& value);
Value MakeTexts(const std::vector<std::string>& texts);

/// A property of this type; nothing if it is absent or of another type.
template <typename Type>
std::optional<Type> Find(const Properties& properties, const std::string& name)
{
    const auto found = properties.find(name);
    const Type* const content =
        found != properties.end() ? found->second.template As<Type>() : nullptr;
    return content != nullptr ? std::optional<Type>(*content) : std::nullopt;
}

}  // namespace pelacon::service::linux_radios::dbus
