// The calls of all stand-ins, in order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pelacon::test {

/// One line for each call that the library made to a stand-in:
///
///     "construct"  "register 0xD80006"  "unregister all"  "destroy"
///     "request 0xD7005C"  "post 0xD70048"  "event 954082006"  "thread"
///     "log 1 start(BleManager::BtEnable)"      the level, and the line without its tag
///
/// A test adds its own lines with Note, from a callback for instance.
class Journal {
  public:
    static void Note(std::string entry);
    static std::vector<std::string> Entries();
    static void Clear();
};

/// A message id in the journal's form: "0xD7005C".
std::string Hex(std::int32_t messageId);

}  // namespace pelacon::test
