// Transmission between simulated radios.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Advertiser.h>
#include <service/radio/Scanner.h>

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

namespace pelacon::service::simulation {

/// How a sender is received.
struct Signal {
    std::uint64_t address = 0;
    std::int32_t rssi = 0;
    std::int32_t rssiVariation = 0;  ///< plus or minus
};

class Transmitter;

/// The running scans and their observers. Must outlive all scans and transmitters.
class Air {
  public:
    explicit Air(Scheduler& scheduler) : scheduler_(scheduler) {}

    /// Starts a scan that receives all advertisements.
    std::unique_ptr<radio::Scan> Listen(radio::ScanPolicy policy,
                                        radio::Scanner::Observer observer);

  private:
    friend class Transmitter;
    class Receiver;

    void Carry(const Transmitter& from, const Signal& signal,
               const radio::Advertising& advertising);
    void Forget(const Transmitter& transmitter);

    Scheduler& scheduler_;
    std::vector<Receiver*> receivers_;
};

/// A device that advertises while this exists.
class Transmitter : public radio::Advertisement {
  public:
    /// Sends for the first time after the delay, and then at each interval.
    Transmitter(Scheduler& scheduler, Air& air, const Signal& signal,
                radio::Advertising advertising, Scheduler::Duration delay);
    ~Transmitter() override { air_.Forget(*this); }

  private:
    void Send() { air_.Carry(*this, signal_, advertising_); }

    Air& air_;
    Signal signal_;
    radio::Advertising advertising_;
    Timer first_;
    Timer others_;
};

}  // namespace pelacon::service::simulation
