// Transmission between simulated radios.
#pragma once

#include <service/base/Scheduler.h>
#include <service/radio/Advertiser.h>
#include <service/radio/Scanner.h>

#include <cstdint>
#include <functional>
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

/// The receivers. Must outlive all of them, and the transmitters.
class Air {
  public:
    /// Receives while it exists.
    class Receiver;

    explicit Air(Scheduler& scheduler) : scheduler_(scheduler) {}

    /// Calls the observer with all advertisements that the policy receives. It must neither begin
    /// nor end to receive or to send.
    std::unique_ptr<Receiver> Listen(radio::ScanPolicy policy,
                                     std::function<void(const radio::Heard&)> observer);

  private:
    friend class Transmitter;

    void Carry(const Transmitter& from, const Signal& signal,
               const radio::Advertising& advertising);
    void Forget(const Transmitter& transmitter);

    Scheduler& scheduler_;
    std::vector<Receiver*> receivers_;
};

class Air::Receiver {
  public:
    Receiver(Air& air, radio::ScanPolicy policy, std::function<void(const radio::Heard&)> observer);
    ~Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;

  private:
    friend class Air;

    /// Counts an advertisement of this transmitter; returns whether it is received.
    bool Receives(const Transmitter& from) { return sent_[&from]++ % oneIn_ == 0; }

    void Notify(const radio::Heard& heard) const { observer_(heard); }
    void Forget(const Transmitter& transmitter) { sent_.erase(&transmitter); }

    Air& air_;
    std::uint32_t oneIn_;
    std::function<void(const radio::Heard&)> observer_;
    std::map<const Transmitter*, std::uint32_t> sent_;
};

/// A device that advertises while this exists.
class Transmitter {
  public:
    /// Sends for the first time after the delay, and then at each interval.
    Transmitter(Scheduler& scheduler, Air& air, const Signal& signal,
                radio::Advertising advertising, Scheduler::Duration delay);
    ~Transmitter() { air_.Forget(*this); }
    Transmitter(const Transmitter&) = delete;
    Transmitter& operator=(const Transmitter&) = delete;

  private:
    void Send() { air_.Carry(*this, signal_, advertising_); }

    Air& air_;
    Signal signal_;
    radio::Advertising advertising_;
    Timer first_;
    Timer others_;
};

}  // namespace pelacon::service::simulation
