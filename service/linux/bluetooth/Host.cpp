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
           const KernelAccess& kernel)
    : scheduler_(scheduler),
      gate_(std::make_shared<Gate>(scheduler)),
      upcalls_(gate_, *this),
      backend_(std::make_unique<InLoop<Backend>>(
          loop, [&loop, adapterName, kernel, changed = upcalls_.To(&Host::TakePicture),
                 scanning = Discovery::Callbacks{ToObserver(&Observer::Heard),
                                                 ToObserver(&Observer::DiscoveryBegan),
                                                 ToObserver(&Observer::DiscoveryEnded)}] {
              return std::make_unique<Backend>(loop, adapterName, changed, scanning, kernel);
          }))
{}

Host::~Host()
{
    const Scheduler::Guard lock = scheduler_.Lock();
    gate_->Close();
}

void Host::TakePicture(const AdapterPicture& picture)
{
    const AdapterPicture before = std::exchange(picture_, picture);
    if (observer_ != nullptr) {
        observer_->PictureChanged(before);
    }
    if (!std::exchange(isKnown_, true)) {
        scheduler_.Wake();
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
