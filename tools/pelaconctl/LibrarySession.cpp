#include <protocol/ServiceStatus.h>
#include <tools/pelaconctl/Control.h>
#include <tools/pelaconctl/Failure.h>
#include <tools/pelaconctl/LibrarySession.h>
#include <tools/pelaconctl/Spinner.h>
#include <tools/pelaconctl/UntilInterrupt.h>

#include <string>

namespace pelacon::ctl {

namespace {

/// The result of a family that stands for a missing answer.
std::int32_t NoAnswerOf(PelaconStatusFamily family)
{
    switch (family) {
        case kPelaconStatusWifi:
            return kWifiNoReply;
        case kPelaconStatusSoftAp:
            return kSoftApNoReply;
        default:
            return kBleStatusNoReply;
    }
}

}  // namespace

LibrarySession::LibrarySession()
{
    ProbeService();
    if (PelaconSvcStart() != 0) {
        throw Failure(ExitStatus::kFailed,
                      "The library cannot be started: no memory or no threads.");
    }
}

LibrarySession::~LibrarySession()
{
    PelaconSvcStop();
}

void LibrarySession::RequireBluetooth() const
{
    if (!IsBtEnabled()) {
        ProbeService();
        throw Failure(ExitStatus::kAdapterOff,
                      "Bluetooth is off. Switch it on with: pelaconctl bt on");
    }
}

bool LibrarySession::RunInterruptibly(const Console& console, const std::string& what,
                                      const std::function<void()>& operation) const
{
    bool interrupted = false;
    {
        const UntilInterrupt interrupt([] { PelaconSvcStop(); });
        const Spinner spinner(console, what);
        operation();
        interrupted = interrupt.Happened();
    }
    if (interrupted) {
        PelaconSvcStart();
    }
    return interrupted;
}

void CheckResult(PelaconStatusFamily family, std::int32_t result, const std::string& request,
                 const ResultSentences& sentences)
{
    if (result == protocol::kStatusDone) {
        return;
    }
    if (result == NoAnswerOf(family)) {
        FailForNoAnswer(request);
    }
    const ExitStatus status =
        result == protocol::kStatusRadioOff ? ExitStatus::kAdapterOff : ExitStatus::kFailed;
    for (const auto& [particular, sentence] : sentences) {
        if (result == particular) {
            throw Failure(status, sentence);
        }
    }
    const std::string who = result < 0 ? "The library could not " : "PelaconService refused to ";
    throw Failure(status, who + request + ": " + PelaconStatusText(family, result) + " (code " +
                              std::to_string(result) + ").");
}

void FailForNoAnswer(const std::string& request)
{
    ProbeService();
    throw Failure(ExitStatus::kNoAnswer,
                  "PelaconService did not answer the request to " + request + ".");
}

}  // namespace pelacon::ctl
