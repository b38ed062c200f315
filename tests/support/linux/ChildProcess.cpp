#include <tests/support/ChildProcess.h>
#include <tests/support/TextStream.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

extern char** environ;  // NOLINT(readability-redundant-declaration): not in every unistd.h

namespace pelacon::test {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const char* what)
{
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

class Descriptor {
  public:
    explicit Descriptor(int descriptor = -1) : descriptor_(descriptor) {}
    ~Descriptor()
    {
        if (descriptor_ >= 0) {
            close(descriptor_);
        }
    }
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return descriptor_; }

  private:
    int descriptor_;
};

/// The ends of a pipe.
struct Channel {
    Descriptor reading;
    Descriptor writing;
};

Channel MakePipe()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        Fail("pipe2");
    }
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Channel MakeTerminal()
{
    Descriptor outside(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    if (outside.Get() < 0 || grantpt(outside.Get()) != 0 || unlockpt(outside.Get()) != 0) {
        Fail("posix_openpt");
    }
    char name[128];
    if (ptsname_r(outside.Get(), name, sizeof name) != 0) {
        Fail("ptsname_r");
    }
    Descriptor inside(open(name, O_RDWR | O_NOCTTY | O_CLOEXEC));
    const winsize size{24, 80, 0, 0};
    if (inside.Get() < 0 || ioctl(inside.Get(), TIOCSWINSZ, &size) != 0) {
        Fail("terminal");
    }
    return {std::move(outside), std::move(inside)};
}

std::vector<char*> Pointers(std::vector<std::string>& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& additions)
{
    std::vector<std::string> variables = additions;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text(*variable);
        const std::string_view name = text.substr(0, text.find('=') + 1);
        const bool replaced =
            std::any_of(additions.begin(), additions.end(),
                        [&](const std::string& added) { return added.starts_with(name); });
        if (!replaced) {
            variables.emplace_back(text);
        }
    }
    return variables;
}

pid_t Spawn(const std::string& program, const std::vector<std::string>& arguments,
            const ChildProcess::Options& options, int input, int output, int errors)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (options.input) {
        posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors, STDERR_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // The defaults of a shell, whatever the test program was started with.
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigfillset(&signals);
    sigdelset(&signals, SIGKILL);
    sigdelset(&signals, SIGSTOP);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);

    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = EnvironmentWith(options.environment);
    pid_t process = -1;
    const int error = posix_spawn(&process, program.c_str(), &actions, &attributes,
                                  Pointers(words).data(), Pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0) {
        errno = error;
        Fail(program.c_str());
    }
    return process;
}

/// Reads the text that comes from a pipe, on its own thread.
class Stream {
  public:
    explicit Stream(Descriptor from) : from_(std::move(from)), thread_([this] { Read(); }) {}
    ~Stream() { Join(); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// Waits until the other end is closed.
    void Join()
    {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    TextStream& Text() { return text_; }
    const TextStream& Text() const { return text_; }

  private:
    void Read()
    {
        char bytes[4096];
        for (;;) {
            const ssize_t count = read(from_.Get(), bytes, sizeof bytes);
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count <= 0) {  // a terminal ends with EIO
                text_.End();
                return;
            }
            text_.Append({bytes, static_cast<std::size_t>(count)});
        }
    }

    Descriptor from_;
    TextStream text_;
    std::thread thread_;
};

}  // namespace

class ChildProcess::Implementation {
  public:
    Implementation(const std::string& program, const std::vector<std::string>& arguments,
                   const Options& options)
    {
        Channel output = options.terminal ? MakeTerminal() : MakePipe();
        Channel errors = options.terminal ? Channel() : MakePipe();
        const Descriptor& errorsTo = options.terminal ? output.writing : errors.writing;
        Channel input = options.input ? MakePipe() : Channel();
        process_ = Spawn(program, arguments, options, input.reading.Get(), output.writing.Get(),
                         errorsTo.Get());
        input_ = std::move(input.writing);
        output_.emplace(std::move(output.reading));
        if (!options.terminal) {
            errors_.emplace(std::move(errors.reading));
        }
    }

    ~Implementation()
    {
        if (!exitCode_) {
            kill(process_, SIGKILL);
            int status = 0;
            waitpid(process_, &status, 0);
        }
    }

    pid_t Process() const { return process_; }

    void Signal(int signal) const
    {
        if (!exitCode_) {
            kill(process_, signal);
        }
    }

    void Write(const std::string& line) const
    {
        std::signal(SIGPIPE, SIG_IGN);  // writing to a child that has ended fails the test, it does
                                        // not kill the test program
        const std::string text = line + "\n";
        if (write(input_.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
            ADD_FAILURE() << "the program takes no input";
        }
    }

    int Wait(std::chrono::milliseconds patience)
    {
        const Clock::time_point deadline = Clock::now() + patience;
        while (!exitCode_) {
            int status = 0;
            if (waitpid(process_, &status, WNOHANG) == process_) {
                exitCode_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
                output_->Join();
                if (errors_) {
                    errors_->Join();
                }
            } else if (Clock::now() > deadline) {
                ADD_FAILURE() << "the program does not end; its output: " << Output().Text();
                return -1;
            } else {
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        return *exitCode_;
    }

    TextStream& Output() { return output_->Text(); }
    std::string Errors() const { return errors_ ? errors_->Text().Text() : std::string(); }

  private:
    pid_t process_ = -1;
    std::optional<int> exitCode_;
    Descriptor input_;
    std::optional<Stream> output_;
    std::optional<Stream> errors_;
};

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments,
                           const Options& options)
    : implementation_(std::make_unique<Implementation>(program, arguments, options))
{}

ChildProcess::~ChildProcess() = default;

const char* ChildProcess::WhyItMayNotEnd()
{
    return nullptr;
}

const char* ChildProcess::WhyNoTerminal()
{
    return nullptr;
}

std::uint32_t ChildProcess::Id() const
{
    return static_cast<std::uint32_t>(implementation_->Process());
}

void ChildProcess::Interrupt()
{
    implementation_->Signal(SIGINT);
}

void ChildProcess::Terminate()
{
    implementation_->Signal(SIGTERM);
}

void ChildProcess::Kill()
{
    implementation_->Signal(SIGKILL);
}

void ChildProcess::Write(const std::string& line)
{
    implementation_->Write(line);
}

int ChildProcess::Wait(std::chrono::milliseconds patience)
{
    return implementation_->Wait(patience);
}

std::optional<std::string> ChildProcess::NextLine(std::chrono::milliseconds patience)
{
    return implementation_->Output().NextLine(Clock::now() + patience);
}

bool ChildProcess::WaitForOutput(const std::string& text, std::chrono::milliseconds patience)
{
    return implementation_->Output().WaitFor(text, Clock::now() + patience);
}

std::string ChildProcess::Output() const
{
    return implementation_->Output().Text();
}

std::string ChildProcess::Errors() const
{
    return implementation_->Errors();
}

}  // namespace pelacon::test
