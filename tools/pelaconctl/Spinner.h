// Shows that an operation takes a while.
#pragma once

#include <tools/pelaconctl/Console.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace pelacon::ctl {

/// While an object lives, a line on the terminal shows what the program waits for, and for how
/// long; the destructor clears the line. Shows nothing where the output is JSON or not a terminal.
/// Nothing else may be written in the meantime.
class Spinner {
  public:
    Spinner(const Console& console, std::string what);
    ~Spinner();

    Spinner(const Spinner&) = delete;
    Spinner& operator=(const Spinner&) = delete;

  private:
    void Run();
    void Draw(std::size_t step, std::chrono::seconds waited) const;

    const Console& console_;
    std::string what_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool ended_ = false;
    std::thread thread_;
};

}  // namespace pelacon::ctl
