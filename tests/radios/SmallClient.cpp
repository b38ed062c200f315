#include <protocol/Codec.h>
#include <tests/radios/SmallClient.h>

#include <systemd/sd-bus.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace pelacon::radios_test {

namespace {

constexpr const char* kBluez = "org.bluez";
constexpr const char* kCharacteristic = "org.bluez.GattCharacteristic1";

void Check(int result, const char* what)
{
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::to_string(result));
    }
}

/// The characteristics below a device, by their paths.
std::vector<std::string> Characteristics(sd_bus* bus, const std::string& device)
{
    sd_bus_message* reply = nullptr;
    Check(sd_bus_call_method(bus, kBluez, "/", "org.freedesktop.DBus.ObjectManager",
                             "GetManagedObjects", nullptr, &reply, ""),
          "list the objects");
    std::vector<std::string> paths;
    Check(sd_bus_message_enter_container(reply, 'a', "{oa{sa{sv}}}"), "read the objects");
    while (sd_bus_message_enter_container(reply, 'e', "oa{sa{sv}}") > 0) {
        const char* path = nullptr;
        Check(sd_bus_message_read(reply, "o", &path), "read a path");
        const std::string_view text = path;
        const bool isBelow = text.starts_with(device + "/");
        if (isBelow && text.substr(text.rfind('/')).starts_with("/char")) {
            paths.emplace_back(text);
        }
        Check(sd_bus_message_skip(reply, "a{sa{sv}}"), "skip the interfaces");
        Check(sd_bus_message_exit_container(reply), "end an object");
    }
    sd_bus_message_unref(reply);
    return paths;
}

}  // namespace

SmallClient::SmallClient(std::uint64_t peer, const std::string& uuid)
{
    Check(sd_bus_open_system(&bus_), "connect to the bus");
    std::string device = "/org/bluez/hci0/dev_" + protocol::AddressText(peer);
    std::ranges::replace(device, ':', '_');
    for (const std::string& path : Characteristics(bus_, device)) {
        char* found = nullptr;
        Check(sd_bus_get_property_string(bus_, kBluez, path.c_str(), kCharacteristic, "UUID",
                                         nullptr, &found),
              "read a UUID");
        if (std::string_view(found).starts_with("0000" + uuid + "-")) {
            path_ = path;
        }
        free(found);
    }
    if (path_.empty()) {
        throw std::runtime_error("BlueZ does not show the characteristic");
    }
}

SmallClient::~SmallClient()
{
    sd_bus_unref(bus_);
}

std::vector<std::uint8_t> SmallClient::Read()
{
    sd_bus_message* reply = nullptr;
    Check(sd_bus_call_method(bus_, kBluez, path_.c_str(), kCharacteristic, "ReadValue", nullptr,
                             &reply, "a{sv}", 0),
          "read the value");
    const void* bytes = nullptr;
    std::size_t size = 0;
    Check(sd_bus_message_read_array(reply, 'y', &bytes, &size), "take the value");
    const auto* const first = static_cast<const std::uint8_t*>(bytes);
    std::vector<std::uint8_t> value(first, first + size);
    sd_bus_message_unref(reply);
    return value;
}

}  // namespace pelacon::radios_test
