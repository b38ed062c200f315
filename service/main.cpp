// PelaconService, the program.
#include <os/CommandLine.h>
#include <os/FileLimit.h>
#include <os/Files.h>
#include <os/ServiceManager.h>
#include <os/Termination.h>
#include <protocol/Operation.h>
#include <service/Version.h>
#include <service/base/Log.h>
#include <service/core/PipeService.h>
#include <service/selection/RadioChoice.h>
#include <service/selection/RealRadios.h>
#include <service/simulation/WorldFile.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace pelacon;
namespace simulation = service::simulation;

enum ExitCode : int {
    kEnded = 0,
    kFailed = 1,
    kUsage = 2,
    kWorldNotValid = 3,
    kPipeUnusable = 4,
};

/// How long the end of the program waits for a reader of the log that does not read.
constexpr std::chrono::milliseconds kLastLines{300};

constexpr char kDescription[] =
    "PelaconService answers programs that use PelaconSDK, with simulated or real radios.\n"
    "It runs in the foreground until SIGTERM or Ctrl-C, and logs to stderr.\n";

constexpr char kFooter[] = R"(
Where it listens
  In the folder that the environment variable PELACON_RUNTIME_DIR names; without it, in
  /run/pelacon if it runs as root or may write there, else in $XDG_RUNTIME_DIR/pelacon.
  Programs look in the same places. When it accepts connections, it prints "ready" and
  its address to stdout.

Examples
  PelaconService                         the built-in world
  PelaconService --print-world > my.json then edit it, and
  PelaconService --world my.json --log debug
  PelaconService --radio linux           with the machine's Bluetooth and Wi-Fi
  PELACON_RUNTIME_DIR=$(mktemp -d) PelaconService
                                         beside another service, for tests

Exit codes
  0  ended by a signal    1  failed unexpectedly    2  wrong options
  3  the world file is not valid or cannot be read
  4  the pipe cannot be used: another service has it, or its folder is not writable)";

struct Options {
    std::optional<std::string> world;
    std::string radio = "simulated";
    bool pair = false;
    std::string pipe;
    std::string logLevel = "info";
    bool trace = false;
    std::optional<std::uint64_t> seed;
    int readyFd = -1;
    bool check = false;
    bool printWorld = false;
};

/// Returns what is wrong with a pipe's name; empty if it can be used.
std::string CheckPipeName(const std::string& name)
{
    const bool plain = std::all_of(name.begin(), name.end(), [](char character) {
        return character > ' ' && character <= '~';
    });
    return plain && !name.empty() ? "" : "a pipe's name is made of ASCII characters, not blank";
}

/// Returns what is wrong with a number; empty if it is from 0 to the limit.
template <typename Number>
std::string CheckNumber(const std::string& text, Number limit)
{
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && number >= 0 && number <= limit
               ? ""
               : "must be a whole number from 0 to " + std::to_string(limit);
}

std::string CheckSeed(const std::string& text)
{
    return CheckNumber(text, std::numeric_limits<std::uint64_t>::max());
}

/// Looked at before the program opens anything: afterwards the number may be that of a socket or a
/// file of its own.
std::string CheckDescriptor(const std::string& text)
{
    std::string wrong = CheckNumber(text, std::numeric_limits<int>::max());
    if (wrong.empty() && !os::IsOpenForWriting(std::stoi(text))) {
        wrong = "file descriptor " + text + " is not open for writing";
    }
    return wrong;
}

std::string CheckWorldName(const std::string& name)
{
    return name.empty() ? "the file's name is empty" : "";
}

std::string CheckRadio(const std::string& text)
{
    try {
        return service::WhyNotUsable(service::ReadRadioChoice(text));
    } catch (const std::invalid_argument& wrong) {
        return wrong.what();
    }
}

void Declare(CLI::App& app, Options& options)
{
    app.footer(kFooter);
    app.set_version_flag("--version", std::string("PelaconService ") + service::kVersion);
    app.add_option("--world", options.world,
                   "The world to simulate: a JSON file, see docs/world.md")
        ->type_name("FILE")
        ->check(&CheckWorldName);
    app.add_option("--radio", options.radio,
                   "simulated; linux: the machine's Bluetooth adapter and Wi-Fi card; or a "
                   "list such as bluetooth=linux:hci1,wifi=simulated. See docs/radios.md")
        ->type_name("RADIOS")
        ->check(&CheckRadio)
        ->capture_default_str();
    app.add_flag("--pair", options.pair,
                 "Pair real Bluetooth with devices for which no human is needed, in place of the "
                 "desktop")
        ->needs("--radio");
    app.add_option("--seed", options.seed,
                   "Seed of the simulation's random numbers, for runs that can be repeated; "
                   "by default the world file's, or a random one that is logged")
        ->type_name("N")
        ->check(&CheckSeed);
    app.add_option("--log", options.logLevel, "What to log: error, warning, info, debug, trace")
        ->type_name("LEVEL")
        ->check(CLI::IsMember({"error", "warning", "info", "debug", "trace"}))
        ->capture_default_str();
    app.add_flag("--trace", options.trace,
                 "Log each request and notification with its bytes; as --log trace");
    app.add_option("--pipe", options.pipe, "Listen under another pipe name")
        ->type_name("NAME")
        ->check(&CheckPipeName);
    app.add_option("--ready-fd", options.readyFd,
                   "When ready, also write \"ready\" and the address to this file descriptor, and "
                   "close it")
        ->type_name("N")
        ->check(&CheckDescriptor);
    app.add_flag("--check", options.check, "Only check the world file");
    app.add_flag("--print-world", options.printWorld, "Print the built-in world");
}

/// A name without folder means a pipe beside the default one.
std::wstring PipeName(const std::string& option)
{
    constexpr std::wstring_view kFolder = L"\\\\.\\Pipe\\";
    if (option.empty()) {
        return protocol::kServicePipe;
    }
    const std::wstring name(option.begin(), option.end());
    return name.starts_with(L"\\\\") ? name : std::wstring(kFolder) + name;
}

service::Settings ReadSettings(const Options& options)
{
    service::Settings settings;
    simulation::WorldFile world;
    if (options.world) {
        world = simulation::LoadWorldFile(*options.world);
        settings.worldName = *options.world;
    } else {
        world = simulation::ReadWorldFile(simulation::DefaultWorldText(), "default-world.json");
    }
    const auto seed = options.seed ? options.seed : world.seed;
    settings.seed = seed ? *seed : std::random_device()();
    settings.faults = world.faults;
    service::RadioChoice radios = service::ReadRadioChoice(options.radio);
    radios.pairs = options.pair;
    settings.makeRadios = service::MakeRadios(radios, std::move(world));
    return settings;
}

void TellReady(const Options& options, const std::string& address)
{
    const std::string line = "ready " + address + "\n";
    std::fputs(line.c_str(), stdout);
    std::fflush(stdout);
    if (options.readyFd >= 0 && !os::WriteAndClose(options.readyFd, line)) {
        service::log::Warning("cannot write to file descriptor ", options.readyFd);
    }
    if (!os::NotifyReady()) {
        service::log::Warning("cannot report to the service manager (NOTIFY_SOCKET)");
    }
}

/// Waits until the log is written, when it is destroyed.
struct LogFlush {
    LogFlush() = default;
    ~LogFlush() { service::log::Flush(kLastLines); }
    LogFlush(const LogFlush&) = delete;
    LogFlush& operator=(const LogFlush&) = delete;
};

int Run(const Options& options)
{
    const LogFlush flush;
    service::log::wantedLevel =
        options.trace ? service::LogLevel::kTrace : *service::LogLevelOf(options.logLevel);
    service::Settings settings = ReadSettings(options);
    if (options.check) {
        std::printf("%s: valid\n", settings.worldName.c_str());
        return kEnded;
    }
    // Not before the world file has been read: while the program waits for it in a pipe, a signal
    // must end it.
    os::Termination termination;
    os::RaiseFileLimit();
    const std::string world = settings.worldName;
    const std::uint64_t seed = settings.seed;
    const service::PipeService service(PipeName(options.pipe), std::move(settings));
    service::log::Info("PelaconService ", service::kVersion, " listens at ", service.Address(),
                       "; world ", world, ", seed ", seed);
    TellReady(options, service.Address());
    service::log::Info("ending: ", termination.Wait());
    return kEnded;
}

int Complain(ExitCode code, const std::exception& failure)
{
    std::fprintf(stderr, "PelaconService: %s\n", failure.what());
    return code;
}

}  // namespace

int main(int argc, char** argv)
{
    os::OpenMissingStandardStreams();
    try {
        CLI::App app(kDescription, "PelaconService");
        Options options;
        Declare(app, options);
        try {
            std::vector<std::string> arguments = os::Arguments(argc, argv);
            std::ranges::reverse(arguments);  // as the parser takes them
            app.parse(std::move(arguments));
        } catch (const CLI::ParseError& outcome) {
            return app.exit(outcome) == 0 ? kEnded : kUsage;
        }
        if (options.printWorld) {
            const std::string_view text = simulation::DefaultWorldText();
            std::fwrite(text.data(), 1, text.size(), stdout);
            return kEnded;
        }
        return Run(options);
    } catch (const json::Error& failure) {
        return Complain(kWorldNotValid, failure);
    } catch (const IPCServerError& failure) {
        return Complain(kPipeUnusable, failure);
    } catch (const std::exception& failure) {
        return Complain(kFailed, failure);
    }
}
