#include <bench/Peer.h>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace pelacon::bench {

namespace {

constexpr auto kRuntimeVariable = "PELACON_RUNTIME_DIR";

struct Pipe {
    Pipe()
    {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::system_error(errno, std::generic_category(), "pipe2");
        }
        reading = ends[0];
        writing = ends[1];
    }
    int reading;
    int writing;
};

std::int64_t TimeOf(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

}  // namespace

TemporaryFolder::TemporaryFolder()
    : path_((std::filesystem::temp_directory_path() / "pelacon-bench-XXXXXX").string())
{
    if (mkdtemp(path_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Peer::Peer(const std::string& program, const std::vector<std::string>& arguments,
           const std::string& runtimeFolder)
    : name_(program)
{
    std::vector<char*> argv{const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);

    std::filesystem::create_directories(runtimeFolder);
    const Pipe input;
    const Pipe output;
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) {
            _exit(1);
        }
        dup2(input.reading, STDIN_FILENO);
        dup2(output.writing, STDOUT_FILENO);
        UseRuntimeFolder(runtimeFolder);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(input.reading);
    close(output.writing);
    input_ = input.writing;
    output_ = output.reading;
    if (process_ < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
}

Peer::~Peer()
{
    close(input_);
    close(output_);
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

std::string ServicePath()
{
    const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    return here.parent_path() / "libexec/pelacon/PelaconService";
}

Peer Peer::InRole(const std::string& role, const std::string& runtimeFolder)
{
    return Peer("/proc/self/exe", {"--role", role}, runtimeFolder);
}

void Peer::Tell(const std::string& line)
{
    const std::string text = line + "\n";
    if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        Ended();
    }
}

std::string Peer::Hear()
{
    std::string line;
    for (char character = 0; read(output_, &character, 1) == 1;) {
        if (character == '\n') {
            return line;
        }
        line += character;
    }
    Ended();
}

void Peer::Ended() const
{
    throw std::runtime_error(name_ + " cannot be run, or ended early.");
}

std::int64_t Peer::ProcessorTime() const
{
    clockid_t clock{};
    if (clock_getcpuclockid(process_, &clock) != 0) {
        Ended();
    }
    return TimeOf(clock);
}

std::int64_t Peer::Memory() const
{
    std::ifstream status("/proc/" + std::to_string(process_) + "/status");
    constexpr std::string_view kKey = "RssAnon:";
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(kKey)) {
            return std::stoll(line.substr(kKey.size()));
        }
    }
    Ended();
}

std::int64_t ProcessorTime()
{
    return TimeOf(CLOCK_PROCESS_CPUTIME_ID);
}

void UseRuntimeFolder(const std::string& folder)
{
    setenv(kRuntimeVariable, folder.c_str(), 1);
}

}  // namespace pelacon::bench
