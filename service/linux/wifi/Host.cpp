#include <service/base/Log.h>
#include <service/linux/Capabilities.h>
#include <service/linux/ChildProcess.h>
#include <service/linux/wifi/Host.h>

namespace pelacon::service::linux_radios::wifi {

namespace {

using Manager = BackendStatus::Manager;

/// For people.
std::string StackName(const BackendStatus& status)
{
    switch (status.manager) {
        case Manager::kNetworkManager:
            return status.version.empty() ? "NetworkManager" : "NetworkManager " + status.version;
        case Manager::kSupplicant:
            return "wpa_supplicant alone";
        case Manager::kNone:
            break;
    }
    return "neither NetworkManager nor wpa_supplicant";
}

/// The names of those that are not installed.
std::vector<std::string> FindPrograms(const AccessPointAccess& access)
{
    std::vector<std::string> missing;
    for (const std::string& program : {access.supplicant, access.dnsmasq}) {
        if (PathOfProgram(program).empty()) {
            missing.push_back(program);
        }
    }
    return missing;
}

}  // namespace

Host::Host(Loop& loop, Scheduler& scheduler, const std::string& interface,
           const KernelAccess& kernel)
    : scheduler_(scheduler),
      missingPrograms_(FindPrograms(kernel.accessPoints)),
      gate_(std::make_shared<Gate>(scheduler)),
      upcalls_(gate_, *this),
      backend_(std::make_unique<InLoop<Backend>>(
          loop, [&loop, interface, kernel,
                 callbacks = Backend::Callbacks{upcalls_.To(&Host::TakeStatus),
                                                upcalls_.To(&Host::TakePicture),
                                                upcalls_.To(&Host::HearAccessPoint)}] {
              return std::make_unique<Backend>(loop, interface, callbacks, kernel);
          }))
{}

Host::~Host()
{
    const Scheduler::Guard lock = scheduler_.Lock();
    gate_->Close();
}

void Host::TakeStatus(const BackendStatus& status)
{
    const BackendStatus before = std::exchange(status_, status);
    // The picture was given before.
    const bool isFirst = !std::exchange(isKnown_, true);
    if (isFirst) {
        scheduler_.Wake();
    }
    if (!isFirst && status.isThere == before.isThere && status.manager == before.manager) {
        return;
    }
    if (status.isThere) {
        log::Info("Wi-Fi: ", status.adapter, ", ", StackName(status));
    } else {
        log::Warning("Wi-Fi is off: there is no such card");
    }
}

json::Output Host::Describe() const
{
    json::Output::List missing;
    if (!isKnown_ || !status_.isThere) {
        if (isKnown_) {
            missing.emplace_back("the card: plug it in; \"ip link\" shows those that are there");
        }
        return {{"kind", "linux"},
                {"state", isKnown_ ? "no such card" : "not known yet"},
                {"missing", missing}};
    }
    const bool isManaged = status_.manager == Manager::kNetworkManager;
    if (status_.manager == Manager::kNone) {
        missing.emplace_back(
            "NetworkManager, unless another program connects the machine to networks");
    }
    if (!status_.canSwitch) {
        missing.emplace_back("write access to /dev/rfkill, to switch Wi-Fi");
    }
    const std::vector<std::string> missingForGroups = MissingForGroups();
    for (const std::string& what : missingForGroups) {
        missing.emplace_back(what + ", for groups and the soft AP");
    }
    const char* const way = isManaged           ? "by NetworkManager"
                            : status_.canSwitch ? "by rfkill"
                                                : "not possible";
    return {{"kind", "linux"},
            {"state", "present"},
            {"stack", StackName(status_)},
            {"adapter", status_.adapter},
            {"switch", way},
            {"groups",
             missingForGroups.empty() ? "by an access point of this service" : "not possible"},
            {"missing", missing}};
}

std::vector<std::string> Host::MissingForGroups() const
{
    std::vector<std::string> missing = missingPrograms_;
    const auto need = [&missing](Capability capability, const char* name) {
        if (!HasCapability(capability)) {
            missing.emplace_back(name);
        }
    };
    need(Capability::kNetAdmin, "CAP_NET_ADMIN");
    need(Capability::kNetRaw, "CAP_NET_RAW");
    need(Capability::kNetBindService, "CAP_NET_BIND_SERVICE");
    return missing;
}

void Host::HearAccessPoint(AccessPointRole role, const AccessPointEvent& event)
{
    if (observer_ != nullptr) {
        observer_->AccessPointHeard(role, event);
    }
}

void Host::TakePicture(const Picture& picture)
{
    const Picture before = std::exchange(picture_, picture);
    if (observer_ != nullptr) {
        observer_->PictureChanged(before);
    }
}

}  // namespace pelacon::service::linux_radios::wifi
