// What a child process must forget of its parent.
#pragma once

namespace pelacon::os {

/// Has the action called in every child that fork makes of this process from now on, on the thread
/// that forked, which is the child's only one, before fork returns there. Does nothing where there
/// is no fork; throws std::system_error for want of memory.
void OnForkedChild(void (*action)());

}  // namespace pelacon::os
