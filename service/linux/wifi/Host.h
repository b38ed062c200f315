// Wi-Fi of this machine, as the radios of all states of the service share it.
#pragma once

#include <json/Output.h>
#include <service/base/Interface.h>
#include <service/linux/InLoop.h>
#include <service/linux/Upcalls.h>
#include <service/linux/wifi/Backend.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// Owns the backend, and has a copy of its picture. Created, used and observed with the scheduler's
/// lock held; destroyed without it, before the loop stops.
class Host {
  public:
    /// The radios of the state of the service that is in use.
    class Observer : public Interface {
      public:
        /// There is another picture; the one before is given.
        virtual void PictureChanged(const Picture& before) = 0;

        /// Something has happened to an access point.
        virtual void AccessPointHeard(AccessPointRole role, const AccessPointEvent& event) = 0;
    };

    Host(Loop& loop, Scheduler& scheduler, const std::string& interface,
         const KernelAccess& kernel = {});
    ~Host();

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// For the radios of one state.
    std::shared_ptr<Gate> MakeGate() const { return std::make_shared<Gate>(scheduler_); }

    /// False until it is known for the first time whether there is a card.
    bool IsKnown() const noexcept { return isKnown_; }
    const Picture& GetPicture() const noexcept { return picture_; }

    /// For operators: the way in which Wi-Fi is used, and what is missing.
    json::Output Describe() const;

    /// An id for the plan of an access point.
    std::uint64_t NextPlan() noexcept { return ++lastPlan_; }

    /// Null: there are no radios.
    void SetObserver(Observer* observer) noexcept { observer_ = observer; }

    /// Has `use` called with the backend in the loop's thread.
    template <typename Use>
    void Post(Use use) const
    {
        backend_->Post(std::move(use));
    }

  private:
    void TakeStatus(const BackendStatus& status);
    std::vector<std::string> MissingForGroups() const;
    void TakePicture(const Picture& picture);
    void HearAccessPoint(AccessPointRole role, const AccessPointEvent& event);

    Scheduler& scheduler_;
    BackendStatus status_;
    bool isKnown_ = false;
    Picture picture_;
    std::uint64_t lastPlan_ = 0;
    std::vector<std::string> missingPrograms_;  // for access points
    Observer* observer_ = nullptr;
    std::shared_ptr<Gate> gate_;
    Upcalls<Host> upcalls_;
    std::unique_ptr<InLoop<Backend>> backend_;
};

}  // namespace pelacon::service::linux_radios::wifi
