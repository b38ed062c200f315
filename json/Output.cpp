#include <json/Output.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace pelacon::json {

namespace {

nlohmann::json Convert(const Output& output);

nlohmann::json Convert(const Output::Object& object)
{
    nlohmann::json converted = nlohmann::json::object();
    for (std::size_t i = 0; i < object.names.size(); ++i) {
        converted[object.names[i]] = Convert(object.values[i]);
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

Output::Output(std::initializer_list<Field> fields)
{
    for (const auto& [name, value] : fields) {
        (*this)[name] = value;
    }
}

Output& Output::operator[](std::string_view name)
{
    auto& object = std::get<Object>(data_);
    const auto found = std::ranges::find(object.names, name);
    if (found != object.names.end()) {
        return object.values[static_cast<std::size_t>(found - object.names.begin())];
    }
    object.names.emplace_back(name);
    return object.values.emplace_back();
}

std::string Write(const Output& output)
{
    return Convert(output).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace pelacon::json
