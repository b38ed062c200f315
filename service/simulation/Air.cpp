#include <service/simulation/Air.h>

#include <utility>

namespace pelacon::service::simulation {

namespace {

/// A scan receives one of this many advertisements of a device, the first.
std::uint32_t OneIn(radio::ScanPolicy policy)
{
    switch (policy) {
        case radio::ScanPolicy::kLowPower:
            return 10;
        case radio::ScanPolicy::kBalanced:
            return 4;
        case radio::ScanPolicy::kLowLatency:
            break;
    }
    return 1;
}

bool HasScanResponse(const radio::Advertising& advertising)
{
    return advertising.kind != radio::AdvertisementKind::kNonConnectable &&
           !advertising.scanResponse.empty();
}

}  // namespace

Air::Receiver::Receiver(Air& air, radio::ScanPolicy policy,
                        std::function<void(const radio::Heard&)> observer)
    : air_(air), oneIn_(OneIn(policy)), observer_(std::move(observer))
{
    air_.receivers_.push_back(this);
}

Air::Receiver::~Receiver()
{
    std::erase(air_.receivers_, this);
}

std::unique_ptr<Air::Receiver> Air::Listen(radio::ScanPolicy policy,
                                           std::function<void(const radio::Heard&)> observer)
{
    return std::make_unique<Receiver>(*this, policy, std::move(observer));
}

void Air::Carry(const Transmitter& from, const Signal& signal,
                const radio::Advertising& advertising)
{
    if (receivers_.empty()) {
        return;
    }
    const auto rssi = [&] {
        return signal.rssi + static_cast<std::int32_t>(scheduler_.GetRandom().Between(
                                 -signal.rssiVariation, signal.rssiVariation));
    };
    const radio::Heard heard{signal.address, rssi(), advertising.kind, advertising.data};
    const radio::Heard response{signal.address, rssi(), radio::AdvertisementKind::kScanResponse,
                                advertising.scanResponse};
    for (Receiver* receiver : receivers_) {
        if (!receiver->Receives(from)) {
            continue;
        }
        receiver->Notify(heard);
        if (HasScanResponse(advertising)) {
            receiver->Notify(response);
        }
    }
}

void Air::Forget(const Transmitter& transmitter)
{
    for (Receiver* receiver : receivers_) {
        receiver->Forget(transmitter);
    }
}

Transmitter::Transmitter(Scheduler& scheduler, Air& air, const Signal& signal,
                         radio::Advertising advertising, Scheduler::Duration delay)
    : air_(air), signal_(signal), advertising_(std::move(advertising))
{
    first_ = scheduler.After(delay, [this, &scheduler] {
        others_ = scheduler.Every(advertising_.shortestInterval, [this] { Send(); });
        Send();
    });
}

}  // namespace pelacon::service::simulation
