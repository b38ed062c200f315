// The simulated receiver of advertisements.
#pragma once

#include <service/radio/Scanner.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/Air.h>
#include <service/simulation/Stack.h>

#include <cstddef>
#include <memory>
#include <vector>

namespace pelacon::service::simulation {

class Scanner : public radio::Scanner {
  public:
    Scanner(Scheduler& scheduler, Stack& stack, const Adapter& adapter, Air& air)
        : scheduler_(scheduler), stack_(stack), adapter_(adapter), air_(air)
    {}

    std::unique_ptr<radio::Scan> Start(radio::ScanPolicy policy,
                                       radio::ScanObserver& observer) override;

    /// For operators: all scans end by themselves. Returns how many.
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
