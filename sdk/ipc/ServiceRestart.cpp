#include <IPCMessage/ServicePresence.h>
#include <PelaconSDK/BleStatus.h>
#include <os/Processes.h>
#include <protocol/ServiceLink.h>
#include <sdk/diag/Log.h>
#include <sdk/ipc/AdvertiserCallbacks.h>
#include <sdk/ipc/Exchange.h>
#include <sdk/ipc/GroupCallbacks.h>
#include <sdk/ipc/IPCMessageSender.h>
#include <sdk/ipc/ScanCallbacks.h>
#include <sdk/ipc/ServiceState.h>

#include <algorithm>
#include <string_view>

namespace pelacon {

using diag::Log;
using diag::LogEnd;
using diag::LogStart;

namespace {

char LowerCase(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return LowerCase(a) == LowerCase(b); });
}

/// The id of the process that runs the installed service; 0 when there is none.
std::uint32_t GetProcessId()
{
    std::uint32_t found = 0;
    const bool listed =
        os::VisitProcessPaths([&](std::uint32_t processId, const std::string& path) {
            if (EqualIgnoringCase(path, os::ServiceInstallPath())) {
                found = processId;
            }
            return found == 0;
        });
    if (!listed) {
        Log(kLogFailure, "GetProcessId", "CreateToolhelp32Snapshot Error!");
    }
    return found;
}

/// Whether the service runs: as the process that is installed, or as the one at the other end of
/// the pipe, for a process list does not always show the former (another path, another namespace).
bool IsServiceRunning()
{
    return GetProcessId() != 0 || ipc::ServicePresence::IsConnected();
}

}  // namespace

bool IPCMessageSender::SendRepairRequest()
{
    protocol::RepairRequest request{};
    std::ranges::copy(Registry<AdvertiserCallbacks>().LowestAdvIds(request.kSlots),
                      request.advertiserIds);
    std::ranges::copy(Registry<ScanCallbacks>().LowestScanIds(request.kSlots), request.scannerIds);
    detail::ReplyItem reply;
    if (!SendIPCMessageToService(
            protocol::kRepairResource.id, &request, sizeof request,
            static_cast<std::uint32_t>(protocol::kRepairResource.timeout.count()), reply)) {
        Log(kLogFailure, "IPCMessageSender::ServiceStartNotifyCallback",
            "repair resource request failed");
        return false;
    }
    return reply.message != nullptr &&
           detail::Decoded<protocol::StatusReply>(reply).status == kBleStatusSuccess;
}

void IPCMessageSender::ServiceStartNotifyCallback()
{
    constexpr auto kFunction = "IPCMessageSender::ServiceStartNotifyCallback";
    LogStart(kFunction);
    const ServiceState::Present before = ServiceState::Get();
    if (!IsServiceRunning()) {
        Log(kLogFailure, kFunction, "service process not exist");
        Log(kLogIncomplete, kFunction,
            "the service has started, but what it held for this process is not repaired");
        ServiceState::Change(before, kPelaconServiceNotRepaired);
        return;
    }
    const bool repaired = SendRepairRequest();
    Registry<GroupCallbacks>().WifiExceptCallback();
    RestoreSoftAp();
    LogEnd(kFunction);
    ServiceState::Change(before, repaired ? kPelaconServiceRestarted : kPelaconServiceNotRepaired);
}

}  // namespace pelacon
