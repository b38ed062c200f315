// The service with real Bluetooth, but for the raw socket: scan reports come from a socket that the
// program inherits. Usage: ... DESCRIPTOR (the last argument)
#include <os/Termination.h>
#include <protocol/Operation.h>
#include <service/base/Log.h>
#include <service/core/PipeService.h>
#include <service/linux/bluetooth/Host.h>
#include <service/selection/MixedRadios.h>
#include <service/simulation/WorldFile.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <system_error>

namespace {

using namespace pelacon::service;
using linux_radios::FileDescriptor;

/// The adapter's reports come from the descriptor. There is no management socket.
struct Bluetooth {
    Bluetooth(Scheduler& scheduler, int descriptor)
        : reports(descriptor),
          host(loop, scheduler, "",
               {[]() -> FileDescriptor {
                    throw std::system_error(
                        std::make_error_code(std::errc::operation_not_permitted));
                },
                [this](std::uint16_t) { return std::move(reports); }, ""})
    {}

    linux_radios::Loop loop{
        [](std::string_view what) { log::Error("the radio's thread: ", what); }};
    FileDescriptor reports;
    linux_radios::bluetooth::Host host;
};

}  // namespace

int main(int argc, char** argv)
{
    pelacon::os::Termination termination;
    const int descriptor = std::atoi(argv[argc - 1]);
    std::shared_ptr<Bluetooth> bluetooth;
    Settings settings;
    settings.makeRadios = [&](Scheduler& scheduler, const std::string&) {
        bluetooth = std::make_shared<Bluetooth>(scheduler, descriptor);
        return std::make_unique<MixedRadios>(
            scheduler, simulation::ReadWorldFile(simulation::DefaultWorldText(), "built in"),
            MixedRadios::Hosts{&bluetooth->host, nullptr});
    };
    const PipeService service(pelacon::protocol::kServicePipe, std::move(settings));
    std::printf("ready %s\n", service.Address().c_str());
    std::fflush(stdout);
    termination.Wait();
    return 0;
}
