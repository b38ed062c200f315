#include <tools/pelaconctl/ServiceNotices.h>
#include <tools/pelaconctl/Text.h>

#include <iostream>
#include <utility>

namespace pelacon::ctl {

std::string ServiceStateName(PelaconServiceState state)
{
    return NameOf(state,
                  {{kPelaconServiceNotFound, "not found"},
                   {kPelaconServiceAvailable, "available"},
                   {kPelaconServiceLost, "lost"},
                   {kPelaconServiceRestarted, "restarted"},
                   {kPelaconServiceNotRepaired, "not repaired"}},
                  "unknown");
}

std::string ServiceStateSentence(PelaconServiceState state)
{
    switch (state) {
        case kPelaconServiceRestarted:
            return "PelaconService is there again.";
        case kPelaconServiceNotRepaired:
            return "PelaconService is there again, but sends nothing to this command any more: "
                   "start the command again.";
        default:
            return "PelaconService is gone. Waiting for it.";
    }
}

ServiceNotices::ServiceNotices(Tell tell) : tell_(std::move(tell))
{
    PelaconSetServiceSink(this, [](void* context, PelaconServiceState state) {
        if (state != kPelaconServiceAvailable) {  // the command has looked for the service before
            static_cast<const ServiceNotices*>(context)->tell_(state);
        }
    });
}

ServiceNotices::~ServiceNotices()
{
    PelaconSetServiceSink(nullptr, nullptr);
}

void ServiceNotices::OnStandardError(PelaconServiceState state)
{
    std::cerr << "pelaconctl: " + ServiceStateSentence(state) + '\n';
}

}  // namespace pelacon::ctl
