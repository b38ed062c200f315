#include <PelaconSDK/BleGattServer.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/GattFile.h>
#include <tools/pelaconctl/GattText.h>

#include <nlohmann/json.hpp>

#include <fstream>
#include <initializer_list>
#include <sstream>
#include <utility>

namespace pelacon::ctl {

namespace {

using Json = nlohmann::json;

/// One value of the file, and where it stands.
class Node {
  public:
    Node(const Json& json, std::string path) : json_(json), path_(std::move(path)) {}

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw Failure(ExitStatus::kUsage, path_ + ": " + what);
    }

    std::string Text() const
    {
        if (!json_.is_string()) {
            Fail("must be text.");
        }
        return json_.get<std::string>();
    }

    bool IsText() const { return json_.is_string(); }

    std::vector<Node> Elements() const
    {
        if (!json_.is_array()) {
            Fail("must be a list.");
        }
        std::vector<Node> elements;
        for (std::size_t i = 0; i < json_.size(); ++i) {
            elements.emplace_back(json_[i], path_ + "[" + std::to_string(i) + "]");
        }
        return elements;
    }

    /// Fails when this is no object, or has fields of other names.
    void AllowFields(std::initializer_list<std::string_view> names) const
    {
        if (!json_.is_object()) {
            Fail("must be an object.");
        }
        for (const auto& [name, value] : json_.items()) {
            if (std::find(names.begin(), names.end(), name) == names.end()) {
                Fail("has an unknown field, \"" + name + "\".");
            }
        }
    }

    bool Has(const char* name) const { return json_.contains(name); }

    Node At(const char* name) const
    {
        if (!Has(name)) {
            Fail(std::string("lacks the field \"") + name + "\".");
        }
        return {json_[name], path_ + "." + name};
    }

    /// The value that a function makes of this one's text; what it throws gets the place in front.
    template <typename Parse>
    auto Parsed(const Parse& parse) const
    {
        const std::string text = Text();
        try {
            return parse(text);
        } catch (const Failure& failure) {
            Fail(failure.what());
        }
    }

  private:
    const Json& json_;
    std::string path_;
};

std::int32_t FlagOf(const Node& node)
{
    constexpr std::pair<std::string_view, std::int32_t> kFlags[] = {
        {"read", kBleGattCharRead},
        {"write", kBleGattCharWrite},
        {"writeWithoutResponse", kBleGattCharWriteWithoutResponse},
        {"notify", kBleGattCharNotify},
        {"indicate", kBleGattCharIndicate},
    };
    const std::string text = node.Text();
    for (const auto& [name, flag] : kFlags) {
        if (text == name) {
            return flag;
        }
    }
    node.Fail("must be one of read, write, writeWithoutResponse, notify, indicate.");
}

std::vector<std::uint8_t> ValueOf(const Node& node)
{
    if (node.IsText()) {
        return node.Parsed([](const std::string& text) { return ParseValue(text); });
    }
    node.AllowFields({"text"});
    return node.At("text").Parsed(
        [](const std::string& text) { return ParseValue("\"" + text + "\""); });
}

protocol::Uuid UuidOf(const Node& node)
{
    return node.At("uuid").Parsed([](const std::string& text) { return ParseUuidText(text); });
}

ServedCharacteristic CharacteristicOf(const Node& node)
{
    node.AllowFields({"uuid", "flags", "value"});
    ServedCharacteristic characteristic{UuidOf(node), kBleGattCharRead, {}};
    if (node.Has("flags")) {
        characteristic.flags = 0;
        for (const Node& flag : node.At("flags").Elements()) {
            characteristic.flags |= FlagOf(flag);
        }
    }
    if (node.Has("value")) {
        characteristic.value = ValueOf(node.At("value"));
    }
    return characteristic;
}

ServedService ServiceOf(const Node& node)
{
    node.AllowFields({"uuid", "characteristics"});
    ServedService service{UuidOf(node), {}};
    if (node.Has("characteristics")) {
        for (const Node& characteristic : node.At("characteristics").Elements()) {
            service.characteristics.push_back(CharacteristicOf(characteristic));
        }
    }
    return service;
}

}  // namespace

std::vector<ServedService> ReadServices(std::string_view text, const std::string& name)
{
    Json json;
    try {
        json = Json::parse(text, nullptr, true, true);
    } catch (const Json::parse_error& error) {
        throw Failure(ExitStatus::kUsage, name + ": " + error.what() + ".");
    }
    const Node root(json, name);
    root.AllowFields({"services"});
    std::vector<ServedService> services;
    for (const Node& service : root.At("services").Elements()) {
        services.push_back(ServiceOf(service));
    }
    if (services.empty()) {
        root.Fail("there is nothing to serve in it.");
    }
    return services;
}

std::vector<ServedService> LoadServices(const std::string& path)
{
    std::ifstream stream(path, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream) {
        throw Failure(ExitStatus::kUsage, "The file " + path + " cannot be read.");
    }
    return ReadServices(text.str(), path);
}

}  // namespace pelacon::ctl
