#include <service/linux/dbus/Value.h>

namespace pelacon::service::linux_radios::dbus {

namespace {

struct SignatureOf {
    std::string operator()(bool) const { return "b"; }
    std::string operator()(std::uint8_t) const { return "y"; }
    std::string operator()(std::int16_t) const { return "n"; }
    std::string operator()(std::uint16_t) const { return "q"; }
    std::string operator()(std::int32_t) const { return "i"; }
    std::string operator()(std::uint32_t) const { return "u"; }
    std::string operator()(std::int64_t) const { return "x"; }
    std::string operator()(std::uint64_t) const { return "t"; }
    std::string operator()(double) const { return "d"; }
    std::string operator()(const std::string&) const { return "s"; }
    std::string operator()(const ObjectPath&) const { return "o"; }
    std::string operator()(const Bytes&) const { return "ay"; }
    std::string operator()(const Array& array) const { return "a" + array.element; }
    std::string operator()(const Dictionary& dictionary) const
    {
        return "a{" + dictionary.key + dictionary.value + "}";
    }
    std::string operator()(const Structure& structure) const
    {
        std::string signature = "(";
        for (const Value& field : structure.fields) {
            signature += field.Signature();
        }
        return signature + ")";
    }
    std::string operator()(const Variant&) const { return "v"; }
    std::string operator()(const Handle&) const { return "h"; }
};

/// Without the variants around it.
const Value& Inside(const Value& value)
{
    const auto* const variant = std::get_if<Variant>(&value.Get());
    return variant != nullptr ? Inside(*variant->value) : value;
}

}  // namespace

std::string Value::Signature() const
{
    return std::visit(SignatureOf(), content_);
}

Value InVariant(Value value)
{
    return Variant{std::make_shared<const Value>(std::move(value))};
}

Properties ReadProperties(const Value& value)
{
    Properties properties;
    if (const auto* const dictionary = value.As<Dictionary>()) {
        for (const auto& [key, content] : dictionary->entries) {
            if (const auto* const name = key.As<std::string>()) {
                properties.insert_or_assign(*name, Inside(content));
            }
        }
    }
    return properties;
}

Value MakeProperties(const Properties& properties)
{
    Dictionary dictionary{"s", "v", {}};
    for (const auto& [name, value] : properties) {
        dictionary.entries.emplace_back(name, InVariant(value));
    }
    return dictionary;
}

Interfaces ReadInterfaces(const Value& value)
{
    Interfaces interfaces;
    if (const auto* const dictionary = value.As<Dictionary>()) {
        for (const auto& [key, content] : dictionary->entries) {
            if (const auto* const name = key.As<std::string>()) {
                interfaces.insert_or_assign(*name, ReadProperties(content));
            }
        }
    }
    return interfaces;
}

Value MakeInterfaces(const Interfaces& interfaces)
{
    Dictionary dictionary{"s", "a{sv}", {}};
    for (const auto& [name, properties] : interfaces) {
        dictionary.entries.emplace_back(name, MakeProperties(properties));
    }
    return dictionary;
}

std::vector<std::string> ReadTexts(const Value& value)
{
    std::vector<std::string> texts;
    if (const auto* const array = value.As<Array>()) {
        for (const Value& element : array->values) {
            if (const auto* const text = element.As<std::string>()) {
                texts.push_back(*text);
            } else if (const auto* const path = element.As<ObjectPath>()) {
                texts.push_back(path->text);
            }
        }
    }
    return texts;
}

Value MakeTexts(const std::vector<std::string>& texts)
{
    Array array{"s", {}};
    for (const std::string& text : texts) {
        array.values.emplace_back(text);
    }
    return array;
}

}  // namespace pelacon::service::linux_radios::dbus
