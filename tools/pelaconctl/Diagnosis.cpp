#include <os/Identity.h>
#include <tools/pelaconctl/Diagnosis.h>

#include <algorithm>
#include <filesystem>

namespace pelacon::ctl {

namespace {

using State = IPCPlace::State;

std::string WhoListens(const IPCPlace& place)
{
    return "process " + std::to_string(place.processId) + " of " + os::NameOfUser(place.user);
}

/// "1.0" of "1.0.3-2-gabc"
std::string MainVersion(const std::string& version)
{
    return version.substr(0, version.find('.', version.find('.') + 1));
}

bool AreTheSame(const std::string& one, const std::string& other)
{
    std::error_code ignored;
    return one == other || std::filesystem::equivalent(one, other, ignored);
}

}  // namespace

std::string PlaceText(const IPCPlace& place)
{
    const std::string reason = place.reason.empty() ? "" : " (" + place.reason + ")";
    switch (place.state) {
        case State::kServed:
            return "the service listens here: " + WhoListens(place);
        case State::kNoService:
            return "no service listens here" + reason;
        case State::kSilent:
            return "does not answer: " + WhoListens(place) + " listens here";
        case State::kTurnedAway:
            return "closes the connection: " + WhoListens(place) + " listens here";
        case State::kUntrusted:
            return "not trusted: " + WhoListens(place) + " listens here";
        case State::kForbidden:
            return "this user may not connect" + reason;
    }
    return "unknown";
}

Verdict Judge(const std::vector<IPCPlace>& places)
{
    const auto find = [&](State state) {
        return std::ranges::find(places, state, &IPCPlace::state);
    };
    if (find(State::kServed) != places.end()) {
        return {ExitStatus::kDone, "PelaconService answers."};
    }
    if (const auto place = find(State::kUntrusted); place != places.end()) {
        return {ExitStatus::kNotAllowed,
                "The service at " + place->path + " runs as " + os::NameOfUser(place->user) +
                    ", whom this user does not trust: use the system's service, or set "
                    "PELACON_RUNTIME_DIR to the folder of a service of this user."};
    }
    if (const auto place = find(State::kForbidden); place != places.end()) {
        return {ExitStatus::kNotAllowed,
                "This user may not connect to " + place->path +
                    ": join the group of the file (for the packaged service: sudo adduser USER "
                    "pelacon), and log in again."};
    }
    if (const auto place = find(State::kTurnedAway); place != places.end()) {
        return {ExitStatus::kNotAllowed,
                "The service at " + place->path +
                    " turns this user away, and its log says why: a service outside /run/pelacon "
                    "serves its own user and root only."};
    }
    if (find(State::kSilent) != places.end()) {
        return {ExitStatus::kNoAnswer,
                "PelaconService does not answer: restart it, and look into its log."};
    }
    return {ExitStatus::kNoService,
            "PelaconService is not running at any of these places: start it, or set "
            "PELACON_RUNTIME_DIR to the folder in which it listens."};
}

std::vector<std::string> Remarks(const ProgramPaths& paths, const std::string& library,
                                 const std::string& service)
{
    std::vector<std::string> remarks;
    if (!paths.exists) {
        remarks.push_back("The library expects the service at " + paths.expected +
                          ", where there is no file: install both with the same prefix.");
    }
    if (std::filesystem::path(paths.running).is_absolute() &&
        !AreTheSame(paths.running, paths.expected)) {
        remarks.push_back("The service that runs is " + paths.running +
                          ", not the one that the library expects; they may have different "
                          "versions.");
    }
    if (!service.empty() && MainVersion(service) != MainVersion(library)) {
        remarks.push_back("The library has version " + library + ", the service " + service +
                          ": what only the newer one knows fails; install the same version of "
                          "both.");
    }
    return remarks;
}

}  // namespace pelacon::ctl
