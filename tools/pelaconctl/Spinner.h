// Showing that something takes a while.
#pragma once

#include <tools/pelaconctl/Console.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace pelacon::ctl {

/// While one of these lives, the terminal shows that the program waits, what for and since when;
/// afterwards that line is gone. Shows nothing where the output is no terminal, or JSON. Nothing
/// else may be written meanwhile.
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
