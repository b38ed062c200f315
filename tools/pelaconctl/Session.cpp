#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/Session.h>

#include <string>

namespace pelacon::ctl {

namespace {

/// Why a service refused, to follow "refused:".
std::string ReasonOf(std::int32_t status)
{
    switch (status) {
        case protocol::kStatusRadioOff:
            return "the radio is off";
        case protocol::kStatusUnknownId:
            return "it knows no such id";
        case protocol::kStatusBusy:
            return "that is under way already, or not possible now";
        case protocol::kStatusLimitReached:
            return "it holds as many of these as it can";
        case protocol::kStatusInvalidArgument:
            return "a value cannot be used";
        case protocol::kStatusNotConnected:
            return "the peer is not connected";
        case protocol::kStatusNotFound:
            return "there is no such thing";
        case protocol::kStatusNotPermitted:
            return "that is not permitted";
        case protocol::kStatusPeerUnreachable:
            return "the peer did not answer";
        case protocol::kStatusNotSupported:
            return "the radio cannot do it";
        case protocol::kStatusInterrupted:
            return "it was restarted meanwhile";
        default:
            return "for reasons of its own";
    }
}

}  // namespace

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

void CheckResult(std::int32_t result, std::int32_t noAnswer, const std::string& request)
{
    if (result == protocol::kStatusDone) {
        return;
    }
    if (result == noAnswer) {
        FailForNoAnswer(request);
    }
    const std::string code = " (code " + std::to_string(result) + ").";
    if (result < 0) {
        throw Failure(ExitStatus::kFailed,
                      "The library refused to send the request to " + request + code);
    }
    throw Failure(
        result == protocol::kStatusRadioOff ? ExitStatus::kAdapterOff : ExitStatus::kFailed,
        "PelaconService refused to " + request + ": " + ReasonOf(result) + code);
}

void FailForNoAnswer(const std::string& request)
{
    ProbeService();
    throw Failure(ExitStatus::kNoAnswer,
                  "PelaconService did not answer the request to " + request + ".");
}

}  // namespace pelacon::ctl
