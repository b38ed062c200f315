// The user's wish to end a program: Ctrl-C.
#pragma once

#include <functional>

namespace pelacon::os {

/// Has the action run, on an ordinary thread of its own, each time the user interrupts the program,
/// which then no longer ends by itself. A program that was started with interrupts ignored goes on
/// ignoring them. To be called once, before any other thread is started.
void OnInterrupt(std::function<void()> action);

}  // namespace pelacon::os
