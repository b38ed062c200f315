#include <json/Output.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace pelacon::json {

namespace {

nlohmann::json Convert(const Output& output);

nlohmann::json Convert(const Output::Object& object)
{
    nlohmann::json converted = nlohmann::json::object();
    for (const auto& [name, value] : object) {
        converted[name] = Convert(value);
    }
    return converted;
}

nlohmann::json Convert(const Output::List& list)
{
    nlohmann::json converted = nlohmann::json::array();
    for (const Output& value : list) {
        converted.push_back(Convert(value));
    }
    return converted;
}

template <typename Scalar>
nlohmann::json Convert(const Scalar& scalar)
{
    return scalar;
}

nlohmann::json Convert(const Output& output)
{
    return std::visit([](const auto& data) { return Convert(data); }, output.Get());
}

}  // namespace

Output::Output(std::initializer_list<Field> fields) : data_(Object(fields)) {}

Output& Output::operator[](std::string_view name)
{
    auto& object = std::get<Object>(data_);
    const auto found = std::ranges::find(object, name, &Field::name);
    return found != object.end() ? found->value
                                 : object.emplace_back(Field{std::string(name), {}}).value;
}

std::string Write(const Output& output)
{
    return Convert(output).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace pelacon::json
