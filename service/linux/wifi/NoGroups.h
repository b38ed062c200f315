// Groups where there are none.
#pragma once

#include <service/radio/Groups.h>

#include <string>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

/// Refuses to create groups, as something that is not supported.
class NoGroups : public radio::Groups {
  public:
    bool Exists() const override { return false; }
    bool IsCreating() const override { return false; }
    radio::Group Describe() const override { return {}; }
    const std::vector<radio::Station>& Stations() const override { return none_; }
    std::optional<radio::WifiInterface> NetworkInterface() const override { return std::nullopt; }
    void Create(std::int32_t /*channel*/, Done done) override
    {
        groupObservers_(false, radio::GroupOutcome::kFailed);
        done(radio::GroupOutcome::kFailed);
    }
    void Remove(Done done) override { done(radio::GroupOutcome::kNoGroup); }
    void Rename(std::string /*ssid*/, std::string /*passPhrase*/) override {}
    void Move(std::int32_t /*channel*/, Done done) override { done(radio::GroupOutcome::kNoGroup); }

  private:
    std::vector<radio::Station> none_;
};

}  // namespace pelacon::service::linux_radios::wifi
