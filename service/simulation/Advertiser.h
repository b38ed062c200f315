// Simulated sending of advertisements.
#pragma once

#include <service/radio/Advertiser.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/Air.h>
#include <service/simulation/Stack.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace pelacon::service::simulation {

/// Sends with the adapter's address. Nothing is received while the adapter is off, since all scans
/// use the same adapter. Only the shortest interval counts, and the channels do not.
class Advertiser : public radio::Advertiser {
  public:
    /// The signal loss between two programs on one machine, in dB, and its variation.
    static constexpr std::int32_t kPathLoss = 40;
    static constexpr std::int32_t kVariation = 2;

    Advertiser(Scheduler& scheduler, Stack& stack, const Adapter& adapter, Air& air)
        : scheduler_(scheduler), stack_(stack), adapter_(adapter), air_(air)
    {}

    std::unique_ptr<radio::Advertisement> Start(const radio::Advertising& advertising,
                                                radio::AdvertisementObserver& observer) override;

    /// For operators: all advertisements end by themselves. Returns how many.
    std::size_t EndAll() { return simulation::EndAll(activities_, radio::Outcome::kFailed); }

  private:
    class Running;

    Scheduler& scheduler_;
    Stack& stack_;
    const Adapter& adapter_;
    Air& air_;
    std::vector<StackActivity*> activities_;  // also those that have not started yet
};

}  // namespace pelacon::service::simulation
