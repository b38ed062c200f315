// Bluetooth of this machine, which the radios of all states of the service share.
#pragma once

#include <json/Output.h>
#include <service/base/Interface.h>
#include <service/linux/InLoop.h>
#include <service/linux/Upcalls.h>
#include <service/linux/bluetooth/Backend.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

/// Owns the backend, and has a copy of the adapter's state. Created, used and observed with the
/// scheduler's lock held; destroyed without it, before the loop stops.
class Host {
  public:
    /// The radios of the state of the service that is in use.
    class Observer : public Interface {
      public:
        /// The adapter's picture has changed; the one before is given.
        virtual void PictureChanged(const AdapterPicture& before) = 0;

        /// These are Discovery's.
        virtual void Heard(const AdvertisingReport& report) = 0;
        virtual void DiscoveryBegan() = 0;
        virtual void DiscoveryEnded(radio::Outcome why) = 0;
    };

    Host(Loop& loop, Scheduler& scheduler, const std::string& adapterName,
         const KernelAccess& kernel = {}, Pairing pairing = Pairing::kByOthers);
    ~Host();

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// For the radios of one state.
    std::shared_ptr<Gate> MakeGate() const { return std::make_shared<Gate>(scheduler_); }

    Scheduler& GetScheduler() const noexcept { return scheduler_; }

    /// False until it is known for the first time whether there is an adapter.
    bool IsKnown() const noexcept { return isKnown_; }
    const AdapterPicture& Picture() const noexcept { return picture_; }

    /// For operators: the stack, the way in which it is used, and what is missing.
    json::Output Describe() const;

    /// Null: there are no radios.
    void SetObserver(Observer* observer) noexcept { observer_ = observer; }

    /// Posts a call of `use` with the backend to the loop's thread.
    template <typename Use>
    void Post(Use use) const
    {
        backend_->Post(std::move(use));
    }

    /// Creates an object in the loop's thread; `make` is called with the backend.
    template <typename Object, typename Make>
    std::unique_ptr<InLoop<Object>> Create(Make make) const
    {
        return backend_->Create<Object>(std::move(make));
    }

  private:
    void TakeStatus(const BackendStatus& status);
    void TakePicture(const AdapterPicture& picture);

    /// A function for the loop's thread that calls a member of the observer.
    template <typename Member>
    auto ToObserver(Member member) const;

    Scheduler& scheduler_;
    BackendStatus status_;
    bool isKnown_ = false;
    AdapterPicture picture_;
    Observer* observer_ = nullptr;
    std::shared_ptr<Gate> gate_;
    Upcalls<Host> upcalls_;
    std::unique_ptr<InLoop<Backend>> backend_;
};

}  // namespace pelacon::service::linux_radios::bluetooth
