#include <protocol/Operation.h>
#include <tools/pelaconctl/Session.h>

#include <optional>

namespace pelacon::ctl {

namespace {

using Kind = IPCControlError::Kind;

constexpr auto kProbeTimeout = std::chrono::seconds(2);

/// Throws when the service is not there, or does not answer. One that does not take commands from
/// this user is there.
void ProbeService()
{
    IPCControlError error{};
    if (!IPCSendControl(protocol::kServicePipe, "ping", kProbeTimeout, error) &&
        error.kind != Kind::kRefused) {
        throw FailureOf(error);
    }
}

}  // namespace

Failure FailureOf(const IPCControlError& error)
{
    switch (error.kind) {
        case Kind::kNoService:
            return {ExitStatus::kNoService,
                    "PelaconService is not running. Start it and try again."};
        case Kind::kRefused:
            return {ExitStatus::kNotAllowed, "PelaconService refused: " + error.message +
                                                 " Only its own user and root may do this."};
        case Kind::kTimeout:
            return {ExitStatus::kNoAnswer, "PelaconService is there but does not answer."};
        case Kind::kLost:
            break;
    }
    return {ExitStatus::kNoService, "PelaconService went away."};
}

std::string SendControl(std::string_view command, std::chrono::milliseconds timeout)
{
    IPCControlError error{};
    std::optional<std::string> answer =
        IPCSendControl(protocol::kServicePipe, command, timeout, error);
    if (!answer) {
        throw FailureOf(error);
    }
    return *answer;
}

Session::Session()
{
    ProbeService();
    if (PelaconSvcStart() != 0) {
        throw Failure(ExitStatus::kFailed, "The library cannot be started: no memory or threads.");
    }
}

Session::~Session()
{
    PelaconSvcStop();
}

void Session::RequireBluetooth() const
{
    if (!IsBtEnabled()) {
        ProbeService();
        throw Failure(ExitStatus::kAdapterOff,
                      "Bluetooth is off. Switch it on with: pelaconctl bt on");
    }
}

void Check(BleStatusC status, std::string_view request)
{
    if (status == kBleStatusSuccess) {
        return;
    }
    if (status == kBleStatusNoReply) {
        FailForNoAnswer(request);
    }
    throw Failure(ExitStatus::kFailed, "The request to " + std::string(request) +
                                           " was refused with code " + std::to_string(status) +
                                           ".");
}

void FailForNoAnswer(std::string_view request)
{
    ProbeService();
    throw Failure(ExitStatus::kNoAnswer,
                  "PelaconService did not answer the request to " + std::string(request) + ".");
}

}  // namespace pelacon::ctl
