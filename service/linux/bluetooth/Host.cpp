#include <service/base/Log.h>
#include <service/linux/bluetooth/Host.h>

namespace pelacon::service::linux_radios::bluetooth {

template <typename Member>
auto Host::ToObserver(Member member) const
{
    return upcalls_.To([member](const Host& host, const auto&... arguments) {
        if (host.observer_ != nullptr) {
            std::invoke(member, *host.observer_, arguments...);
        }
    });
}

Host::Host(Loop& loop, Scheduler& scheduler, const std::string& adapterName,
           const KernelAccess& kernel, Pairing pairing)
    : scheduler_(scheduler),
      gate_(std::make_shared<Gate>(scheduler)),
      upcalls_(gate_, *this),
      backend_(std::make_unique<InLoop<Backend>>(
          loop, [&loop, adapterName, kernel, pairing,
                 callbacks = Backend::Callbacks{
                     upcalls_.To(&Host::TakeStatus),
                     upcalls_.To(&Host::TakePicture),
                     {ToObserver(&Observer::Heard), ToObserver(&Observer::DiscoveryBegan),
                      ToObserver(&Observer::DiscoveryEnded)}}] {
              return std::make_unique<Backend>(loop, adapterName, callbacks, kernel, pairing);
          }))
{}

Host::~Host()
{
    const Scheduler::Guard lock = scheduler_.Lock();
    gate_->Close();
}

namespace {

/// What is missing, for operators.
const char* WhatIsMissing(Stack::Presence presence)
{
    switch (presence) {
        case Stack::Presence::kNoBus:
            return "the system's message bus: install and start D-Bus";
        case Stack::Presence::kNoBluez:
            return "bluetoothd: install BlueZ and start bluetooth.service";
        case Stack::Presence::kForbidden:
            return "access to BlueZ: the message bus must let this user send to org.bluez";
        case Stack::Presence::kSilent:
            return "bluetoothd's answer: restart bluetooth.service";
        case Stack::Presence::kNoAdapter:
            return "the adapter: plug it in; bluetoothctl list shows those that are there";
        case Stack::Presence::kUnknown:
        case Stack::Presence::kThere:
            break;
    }
    return "";
}

/// "BlueZ 5.66"
std::string StackName(const BackendStatus& status)
{
    return status.version.empty() ? "BlueZ" : "BlueZ " + status.version;
}

}  // namespace

void Host::TakeStatus(const BackendStatus& status)
{
    const BackendStatus before = std::exchange(status_, status);
    // The picture was given before.
    if (!std::exchange(isKnown_, true)) {
        scheduler_.Wake();
    }
    if (status.presence == before.presence) {
        return;
    }
    if (status.presence == Stack::Presence::kThere) {
        log::Info("Bluetooth: ", status.adapter, ", ", StackName(status));
    } else {
        log::Warning("Bluetooth is off: ", TextOf(status.presence));
    }
}

json::Output Host::Describe() const
{
    json::Output description{{"kind", "linux"}, {"state", TextOf(status_.presence)}};
    json::Output::List missing;
    if (status_.presence != Stack::Presence::kThere) {
        missing.emplace_back(WhatIsMissing(status_.presence));
        description["missing"] = missing;
        return description;
    }
    const bool areReportsRaw = status_.reports == Discovery::Way::kRaw;
    if (!areReportsRaw) {
        missing.emplace_back("CAP_NET_RAW, to receive advertisements as they were sent");
    }
    const bool isAdvertisingRaw = status_.advertising == Advertisements::Way::kRaw;
    if (!isAdvertisingRaw) {
        missing.emplace_back(
            "CAP_NET_ADMIN, to send advertisements as they were given, and to know why "
            "connections end");
    }
    description["stack"] = StackName(status_);
    description["adapter"] = status_.adapter;
    description["reports"] = areReportsRaw ? "raw" : "rebuilt from BlueZ's properties";
    description["advertising"] = isAdvertisingRaw ? "raw" : "rebuilt by BlueZ from fields";
    description["missing"] = missing;
    return description;
}

void Host::TakePicture(const AdapterPicture& picture)
{
    const AdapterPicture before = std::exchange(picture_, picture);
    if (observer_ != nullptr) {
        observer_->PictureChanged(before);
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
