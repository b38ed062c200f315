// Operators' commands: any text has an answer.
#include <json/Document.h>

#include <fuzz/Input.h>
#include <fuzz/service/WholeService.h>

#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    pelacon::fuzz::WholeService& service = pelacon::fuzz::WholeService::Restarted();
    const std::string answer = service.core.Control({reinterpret_cast<const char*>(data), size});
    pelacon::json::Parse(answer, "answer");
    return 0;
}
