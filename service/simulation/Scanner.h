// The simulated receiver of advertisements.
#pragma once

#include <service/radio/Scanner.h>
#include <service/simulation/Adapter.h>
#include <service/simulation/Air.h>

#include <memory>
#include <utility>

namespace pelacon::service::simulation {

class Scanner : public radio::Scanner {
  public:
    Scanner(const Adapter& adapter, Air& air) : adapter_(adapter), air_(air) {}

    std::unique_ptr<radio::Scan> Start(radio::ScanPolicy policy, Observer observer) override
    {
        return air_.Listen(policy,
                           [this, observer = std::move(observer)](const radio::Heard& heard) {
                               if (adapter_.IsOn()) {
                                   observer(heard);
                               }
                           });
    }

  private:
    const Adapter& adapter_;
    Air& air_;
};

}  // namespace pelacon::service::simulation
