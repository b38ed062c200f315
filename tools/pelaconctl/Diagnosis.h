// What the doctor finds: where programs look for the service, who listens there, and what is wrong.
#pragma once

#include <IPCMessage/IPCControl.h>
#include <tools/pelaconctl/Failure.h>

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <vector>

namespace pelacon::ctl {

/// The state of a place in words: "no service listens here (No such file or directory)".
std::string PlaceText(const IPCPlace& place);

/// What is wrong and what to do about it, and how other commands end because of it.
struct Verdict {
    ExitStatus status = ExitStatus::kDone;
    std::string sentence;
};

/// The verdict on the places, which are in the order in which programs try them.
Verdict Judge(const std::vector<IPCPlace>& places);

/// Where the library expects the service's program, and what runs.
struct ProgramPaths {
    std::string expected;
    bool exists = false;  ///< there is a file at the expected path
    std::string running;  ///< of the process that listens, as it was started; empty if unknown
};

/// What is wrong with the paths and the versions, one sentence each. An unknown version is empty.
std::vector<std::string> Remarks(const ProgramPaths& paths, const std::string& library,
                                 const std::string& service);

}  // namespace pelacon::ctl
