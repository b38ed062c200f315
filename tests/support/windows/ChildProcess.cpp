#include <os/Utf8.h>
#include <os/windows/EndEvent.h>
#include <os/windows/Handle.h>
#include <os/windows/Wide.h>
#include <tests/support/ChildProcess.h>
#include <tests/support/TextStream.h>

#include <gtest/gtest.h>
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

namespace pelacon::test {

namespace {

using os::MakeHandle;
using os::OwnedHandle;
using os::Wide;
using Clock = std::chrono::steady_clock;

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what + ": error " + std::to_string(GetLastError()));
}

SECURITY_ATTRIBUTES Inheritable()
{
    return {sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
}

/// The ends of a pipe.
struct Channel {
    OwnedHandle reading;
    OwnedHandle writing;
};

Channel MakePipe()
{
    SECURITY_ATTRIBUTES attributes = Inheritable();
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    if (CreatePipe(&reading, &writing, &attributes, 0) == 0) {
        Fail("CreatePipe");
    }
    SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0);
    return {OwnedHandle(reading), OwnedHandle(writing)};
}

/// A pipe that the child reads.
Channel MakeInputPipe()
{
    Channel pipe = MakePipe();
    SetHandleInformation(pipe.reading.get(), HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    SetHandleInformation(pipe.writing.get(), HANDLE_FLAG_INHERIT, 0);
    return pipe;
}

/// A word of a command line, quoted so that the program receives it unchanged.
std::string Quoted(const std::string& word)
{
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (const char character : word) {
        if (character == '"') {
            quoted.append(backslashes + 1, '\\');
        }
        backslashes = character == '\\' ? backslashes + 1 : 0;
        quoted += character;
    }
    quoted.append(backslashes, '\\');
    return quoted + "\"";
}

std::string CommandLine(const std::string& program, const std::vector<std::string>& arguments)
{
    std::string line = Quoted(program);
    for (const std::string& argument : arguments) {
        line += " " + Quoted(argument);
    }
    return line;
}

struct VariablesFreed {
    void operator()(wchar_t* variables) const { FreeEnvironmentStringsW(variables); }
};

/// The environment block of this process with some variables added or replaced.
std::wstring EnvironmentWith(const std::vector<std::string>& additions)
{
    std::wstring block;
    const auto add = [&](std::wstring_view variable) { block.append(variable).push_back(L'\0'); };
    const std::unique_ptr<wchar_t, VariablesFreed> variables(GetEnvironmentStringsW());
    for (const wchar_t* variable = variables.get(); *variable != L'\0';
         variable += std::wcslen(variable) + 1) {
        const std::wstring_view text(variable);
        const std::wstring_view name = text.substr(0, text.find(L'=', 1) + 1);
        bool replaced = false;
        for (const std::string& added : additions) {
            replaced = replaced || Wide(added).starts_with(name);
        }
        if (!replaced) {
            add(text);
        }
    }
    for (const std::string& added : additions) {
        add(Wide(added));
    }
    block.push_back(L'\0');
    return block;
}

/// Reads the text that comes from a pipe, on its own thread, and removes carriage returns.
class Stream {
  public:
    explicit Stream(OwnedHandle from) : from_(std::move(from)), thread_([this] { Read(); }) {}
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

  private:
    void Read()
    {
        char bytes[4096];
        DWORD count = 0;
        while (ReadFile(from_.get(), bytes, sizeof bytes, &count, nullptr) != 0) {
            std::string text(bytes, count);
            std::erase(text, '\r');
            text_.Append(text);
        }
        text_.End();
    }

    OwnedHandle from_;
    TextStream text_;
    std::thread thread_;
};

bool IsWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

PROCESS_INFORMATION Spawn(const std::string& program, const std::vector<std::string>& arguments,
                          const ChildProcess::Options& options, HANDLE input, HANDLE output,
                          HANDLE errors)
{
    SECURITY_ATTRIBUTES attributes = Inheritable();
    const OwnedHandle empty =
        MakeHandle(CreateFileW(L"NUL", GENERIC_READ, 0, &attributes, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = options.input ? input : empty.get();
    startup.hStdOutput = output;
    startup.hStdError = errors;
    std::wstring line = Wide(CommandLine(program, arguments));
    std::wstring environment = EnvironmentWith(options.environment);
    PROCESS_INFORMATION process{};
    int failures = 0;
    while (CreateProcessW(Wide(program).c_str(), line.data(), nullptr, nullptr, TRUE,
                          CREATE_NEW_PROCESS_GROUP | CREATE_UNICODE_ENVIRONMENT, environment.data(),
                          nullptr, &startup, &process) == 0) {
        // Wine answers with this error when a program's loader ended before it reached the program,
        // which happens on a busy machine (docs/windows.md).
        if (!IsWine() || GetLastError() != ERROR_INTERNAL_ERROR || ++failures > 3) {
            Fail(program);
        }
        std::fprintf(stderr, "Wine's loader failed; %s is started again\n", program.c_str());
    }
    CloseHandle(process.hThread);
    return process;
}

}  // namespace

class ChildProcess::Implementation {
  public:
    Implementation(const std::string& program, const std::vector<std::string>& arguments,
                   const Options& options)
    {
        if (options.terminal) {
            throw std::runtime_error("there are no terminals to run programs in here");
        }
        Channel output = MakePipe();
        Channel errors = MakePipe();
        Channel input = options.input ? MakeInputPipe() : Channel();
        const PROCESS_INFORMATION process = Spawn(program, arguments, options, input.reading.get(),
                                                  output.writing.get(), errors.writing.get());
        input_ = std::move(input.writing);
        process_.reset(process.hProcess);
        id_ = process.dwProcessId;
        output_.emplace(std::move(output.reading));
        errors_.emplace(std::move(errors.reading));
    }

    ~Implementation()
    {
        Kill();
        WaitForSingleObject(process_.get(), INFINITE);
    }

    DWORD Id() const { return id_; }
    void Kill() { TerminateProcess(process_.get(), static_cast<UINT>(-1)); }

    void Write(const std::string& line) const
    {
        const std::string text = line + "\n";
        DWORD written = 0;
        if (WriteFile(input_.get(), text.data(), static_cast<DWORD>(text.size()), &written,
                      nullptr) == 0) {
            ADD_FAILURE() << "the program takes no input";
        }
    }

    int Wait(std::chrono::milliseconds patience)
    {
        if (WaitForSingleObject(process_.get(), static_cast<DWORD>(patience.count())) !=
            WAIT_OBJECT_0) {
            ADD_FAILURE() << "the program does not end; its output: " << Output().Text();
            return -1;
        }
        output_->Join();
        errors_->Join();
        DWORD exitCode = 0;
        GetExitCodeProcess(process_.get(), &exitCode);
        return static_cast<int>(exitCode);
    }

    TextStream& Output() { return output_->Text(); }
    TextStream& Errors() { return errors_->Text(); }

  private:
    OwnedHandle process_;
    DWORD id_ = 0;
    OwnedHandle input_;
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
    return IsWine() ? "Wine ends a thread that holds Wine's lock of the address space, and then "
                      "waits for that lock (docs/windows.md)"
                    : nullptr;
}

const char* ChildProcess::WhyNoTerminal()
{
    return "consoles show themselves; what is drawn on one cannot be read here";
}

std::uint32_t ChildProcess::Id() const
{
    return implementation_->Id();
}

/// Without a console there is no Ctrl-C.
void ChildProcess::Interrupt()
{
    if (GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, implementation_->Id()) == 0) {
        Terminate();
    }
}

void ChildProcess::Terminate()
{
    const OwnedHandle event(
        OpenEventW(EVENT_MODIFY_STATE, FALSE, os::EndEventName(implementation_->Id()).c_str()));
    if (!event || SetEvent(event.get()) == 0) {
        ADD_FAILURE() << "the program does not wait to be ended";
    }
}

void ChildProcess::Kill()
{
    implementation_->Kill();
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
    return implementation_->Errors().Text();
}

}  // namespace pelacon::test
