// World files: any text is a world, or is refused with the line of the error.
#include <service/simulation/WorldFile.h>

#include <fuzz/Input.h>

#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace pelacon;
    try {
        service::simulation::ReadWorldFile({reinterpret_cast<const char*>(data), size}, "world");
    } catch (const json::Error& error) {
        fuzz::Require(std::string_view(error.what()).starts_with("world:"));
    }
    return 0;
}
