#include <tests/service/linux/BluezFixture.h>
#include <tests/support/Eventually.h>

#include <nlohmann/json.hpp>

#include <algorithm>

namespace pelacon::service::linux_radios::tests {

using nlohmann::json;

void BluezFixture::StartBluez()
{
    bluetoothd.reset();
    bluetoothd.emplace("bluez.py");
    bluetoothd->Do({{"do", "adapter"},
                    {"name", "hci0"},
                    {"Address", "00:AA:01:00:00:00"},
                    {"Alias", "desk"},
                    {"Modalias", "usb:v1D6Bp0246d0542"},
                    {"Powered", true}});
}

void BluezFixture::AddDevice(const char* path, const char* address)
{
    bluetoothd->Do(
        {{"do", "device"}, {"path", path}, {"Address", address}, {"AddressType", "random"}});
}

void BluezFixture::Change(const std::string& path, const char* property, const json& value)
{
    bluetoothd->Do({{"do", "change"}, {"path", path}, {property, value}});
}

std::ptrdiff_t BluezFixture::CallsOf(const std::string& method)
{
    for (const json& call : bluetoothd->Do({{"do", "calls"}})) {
        calls_.push_back(call.at(0));
    }
    return std::count(calls_.begin(), calls_.end(), method);
}

bool BluezFixture::IsCalled(const std::string& method)
{
    return test::Eventually([&] { return CallsOf(method) > 0; });
}

}  // namespace pelacon::service::linux_radios::tests
