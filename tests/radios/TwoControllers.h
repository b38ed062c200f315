// One test's loop, and the objects that drive each of the machine's two controllers.
#pragma once

#include <service/linux/bluetooth/Backend.h>
#include <tests/support/Eventually.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::bluetooth {

// Emulation is slow, and a controller reports an advertisement every ten seconds or so.
inline constexpr std::chrono::seconds kPatience{60};

using Bytes = std::vector<std::uint8_t>;

/// What is reported of one controller.
struct Reported {
    AdapterPicture picture;
    std::vector<AdvertisingReport> heard;
    bool isDiscovering = false;
};

/// Drives one controller. In the loop's thread.
struct Machine : Reported, Backend {
    Machine(Loop& loop, const std::string& controller, const std::string& itemsFile = "")
        : Backend(loop, controller,
                  {[](const BackendStatus&) {},
                   [this](const AdapterPicture& now) { picture = now; },
                   {[this](const AdvertisingReport& report) { heard.push_back(report); },
                    [this] { isDiscovering = true; },
                    [this](radio::Outcome) { isDiscovering = false; }}},
                  {.itemsFile = itemsFile})
    {}
};

class OverBluez : public testing::Test {
  protected:
    OverBluez()
    {
        Do([this] {
            one = std::make_unique<Machine>(loop, "hci0");
            two = std::make_unique<Machine>(loop, "hci1");
        });
        EXPECT_TRUE(Eventually([this] { return one->picture.isThere && two->picture.isThere; }));
        for (Machine* machine : {one.get(), two.get()}) {
            Do([&] { machine->adapter.Switch(true, Store()); });
            EXPECT_EQ(Result(), radio::Outcome::kDone);
        }
    }
    ~OverBluez() override
    {
        Do([this] {
            one.reset();
            two.reset();
        });
    }

    template <typename Body>
    void Do(Body body)
    {
        std::promise<void> done;
        loop.Post([&] {
            body();
            done.set_value();
        });
        if (done.get_future().wait_for(kPatience) != std::future_status::ready) {
            std::abort();  // the loop is stuck, and its task refers to this stack
        }
    }
    template <typename Condition>
    bool Eventually(const Condition& condition)
    {
        bool holds = false;
        const auto check = [&] {
            Do([&] { holds = condition(); });
            return holds;
        };
        return test::Eventually(check, kPatience, std::chrono::milliseconds(20));
    }

    AdapterControl::Done Store()
    {
        outcome.reset();
        return [this](radio::Outcome result) { outcome = result; };
    }
    std::optional<radio::Outcome> Result()
    {
        EXPECT_TRUE(Eventually([this] { return outcome.has_value(); }));
        return outcome;
    }

    Loop loop{[](std::string_view text) { ADD_FAILURE() << text; }};
    std::unique_ptr<Machine> one;
    std::unique_ptr<Machine> two;
    std::optional<radio::Outcome> outcome;
    std::vector<radio::Outcome> started;  // of what a test starts several of
};

}  // namespace pelacon::service::linux_radios::bluetooth
