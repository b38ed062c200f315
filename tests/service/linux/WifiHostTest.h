// What families see of Wi-Fi, over stand-ins of the kernel and of NetworkManager.
#pragma once

#include <service/linux/wifi/Radios.h>
#include <tests/service/linux/PrivateBus.h>
#include <tests/service/linux/SchedulerTest.h>
#include <tests/service/linux/WifiKernel.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::tests {

/// What the loop of a test uses, and outlives it.
struct WifiStandIns {
    PrivateBus bus;
    std::optional<StandIn> manager;
    WifiKernel kernel;
};

class WifiHostTest : protected WifiStandIns, public SchedulerTest {
  protected:
    ~WifiHostTest() override { End(); }

    /// For destructors: what the loop still does uses members of this class, and of a derived one.
    void End()
    {
        Release();
        host.reset();
        loop.Stop();
    }

    /// Has a program on the bus that can play NetworkManager.
    void StartManager()
    {
        manager.reset();
        manager.emplace("network_manager.py");
        manager->Do({{"do", "come"}});
    }

    /// Waits until it is known what there is.
    void Start(const std::string& interface = "")
    {
        wifi::KernelAccess access;
        access.netlink = kernel.Netlink();
        access.accessPoints = accessPoints;
        access.openRfkill = [this] {
            return kernel.IsLoaded() ? kernel.OpenRfkill(canSwitch) : wifi::RfkillAccess();
        };
        access.addressOf = [](const std::string& card) -> std::uint64_t {
            return card == "phy0" ? 0x020000000010 : 0x020000000020;
        };
        Locked([&] { host = std::make_unique<wifi::Host>(loop, scheduler, interface, access); });
        ASSERT_TRUE(Eventually([this] { return host->IsKnown(); }));
        Locked([this] {
            radios = std::make_unique<wifi::Radios>(*host);
            radios->GetWifi().ObserveSwitch([this](bool on) { switches.push_back(on); });
            radios->GetWifiCards().Observe([this](std::size_t card) { cards.push_back(card); });
        });
    }

    radio::OutcomeDone Store()
    {
        return [this](radio::Outcome outcome) { outcomes.push_back(outcome); };
    }
    void Switch(bool on)
    {
        Locked([&] { radios->GetWifi().Switch(on, Store()); });
    }
    /// Both before the loop begins with the first.
    void SwitchOffAndOn()
    {
        std::promise<void> areAsked;
        loop.Post([begin = areAsked.get_future().share()] { begin.wait(); });
        Switch(false);
        Switch(true);
        areAsked.set_value();
    }
    bool IsOn()
    {
        return Locked([this] { return radios->GetWifi().IsOn(); });
    }
    /// The outcomes of all switches, when there are at least `count` of them.
    std::vector<radio::Outcome> Outcomes(std::size_t count)
    {
        EXPECT_TRUE(Eventually([&] { return outcomes.size() >= count; }));
        return Locked([this] { return outcomes; });
    }

    /// Returns when the loop has done all that was posted before.
    void AwaitLoop()
    {
        std::promise<void> isDone;
        loop.Post([&isDone] { isDone.set_value(); });
        isDone.get_future().wait();
    }

    void Release()
    {
        const Scheduler::Guard lock = scheduler.Lock();
        radios.reset();
    }

    bool canSwitch = true;  // may write to /dev/rfkill
    wifi::AccessPointAccess accessPoints;
    std::unique_ptr<wifi::Host> host;
    std::unique_ptr<wifi::Radios> radios;
    // Guarded by the scheduler's lock:
    std::vector<bool> switches;
    std::vector<std::size_t> cards;
    std::vector<radio::Outcome> outcomes;
};

}  // namespace pelacon::service::linux_radios::tests
