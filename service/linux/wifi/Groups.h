// Groups and the soft AP, as families see them.
#pragma once

#include <service/linux/Upcalls.h>
#include <service/linux/wifi/Host.h>
#include <service/radio/Groups.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// Created, used and destroyed with the scheduler's lock held.
class Groups : public radio::Groups {
  public:
    Groups(Host& host, const std::shared_ptr<Gate>& gate, AccessPointRole role);

    bool Exists() const override { return exists_; }
    bool IsCreating() const override { return created_ != nullptr; }
    radio::Group Describe() const override;
    const std::vector<radio::Station>& Stations() const override { return stations_; }
    std::optional<radio::WifiInterface> NetworkInterface() const override { return interface_; }
    void Create(std::int32_t channel, Done done) override;
    void Remove(Done done) override;
    void Rename(std::string ssid, std::string passPhrase) override;
    void Move(std::int32_t channel, Done done) override;

    /// Something has happened to an access point of this role.
    void Heard(const AccessPointEvent& event);

    /// It ends without a call of anything.
    void Release();

  private:
    struct Name {
        std::string ssid;
        std::string passPhrase;
    };

    static Name DrawName(AccessPointRole role);
    void TakeNewName();
    void Post(radio::GroupOutcome why) const;
    void Made(const AccessPointEvent& event);
    void Ended(radio::GroupOutcome why);
    void Left(std::uint64_t station);
    void EndRemoval();

    Host& host_;
    AccessPointRole role_;
    Name name_;
    std::optional<Name> newName_;  // for the next group
    std::uint64_t plan_ = 0;       // of the last access point
    bool exists_ = false;
    std::int32_t channel_ = 0;  // 0: there is no group
    std::optional<radio::WifiInterface> interface_;
    std::vector<radio::Station> stations_;
    Done created_;
    std::vector<Done> removed_;
    Upcalls<Groups> upcalls_;
};

}  // namespace pelacon::service::linux_radios::wifi
