// Simulated sending of advertisements.
#pragma once

#include <service/radio/Advertiser.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/Air.h>

#include <memory>

namespace pelacon::service::simulation {

/// Sends with the adapter's address. Nothing is received while the adapter is off, since all scans
/// use the same adapter.
class Advertiser : public radio::Advertiser {
  public:
    /// The signal loss between two programs on one machine, in dB, and its variation.
    static constexpr std::int32_t kPathLoss = 40;
    static constexpr std::int32_t kVariation = 2;

    Advertiser(Scheduler& scheduler, const Adapter& adapter, Air& air)
        : scheduler_(scheduler), adapter_(adapter), air_(air)
    {}

    std::unique_ptr<radio::Advertisement> Start(const radio::Advertising& advertising) override
    {
        const Signal signal{adapter_.Address(), advertising.txPower - kPathLoss, kVariation};
        return std::make_unique<Transmitter>(scheduler_, air_, signal, advertising,
                                             Scheduler::Duration::zero());
    }

  private:
    Scheduler& scheduler_;
    const Adapter& adapter_;
    Air& air_;
};

}  // namespace pelacon::service::simulation
