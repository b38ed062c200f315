#include <service/linux/bluetooth/AdvertisingData.h>
#include <service/linux/bluetooth/Scanner.h>

#include <algorithm>
#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

radio::AdvertisementKind KindOf(AdvertisingReport::Kind kind)
{
    using Kind = AdvertisingReport::Kind;
    switch (kind) {
        case Kind::kScannable:
            return radio::AdvertisementKind::kScannable;
        case Kind::kNonConnectable:
            return radio::AdvertisementKind::kNonConnectable;
        case Kind::kScanResponse:
            return radio::AdvertisementKind::kScanResponse;
        case Kind::kConnectable:
            break;
    }
    return radio::AdvertisementKind::kConnectable;
}

radio::Heard HeardOf(const AdvertisingReport& report)
{
    static_assert(AdvertisingReport::kUnknownRssi == radio::kUnknownRssi);
    const std::size_t size = report.data.size() <= radio::kMostAdvertisingData
                                 ? report.data.size()
                                 : WholeStructures(report.data, radio::kMostAdvertisingData);
    return {report.address,
            report.rssi,
            KindOf(report.kind),
            {report.data.begin(), report.data.begin() + static_cast<std::ptrdiff_t>(size)}};
}

}  // namespace

/// One scan, from its start on.
class Scanner::Running : public radio::Scan {
  public:
    Running(Scanner& radio, radio::ScanPolicy policy, radio::ScanObserver& observer)
        : radio_(radio), id_(++radio.lastId_), policy_(policy), observer_(observer)
    {
        radio_.running_.emplace(id_, this);
    }
    ~Running() override { Leave(); }

    radio::ScanPolicy Policy() const noexcept { return policy_; }

    void Begin()
    {
        if (!std::exchange(hasStarted_, true)) {
            observer_.Started();
        }
    }
    void Receive(const radio::Heard& heard)
    {
        if (hasStarted_) {
            observer_.Received(heard);
        }
    }
    void End(radio::Outcome why)
    {
        Leave();
        observer_.Ended(why);
    }

  private:
    void Leave()
    {
        if (radio_.running_.erase(id_) != 0) {
            radio_.Fit();
        }
    }

    Scanner& radio_;
    std::uint64_t id_;
    radio::ScanPolicy policy_;
    radio::ScanObserver& observer_;
    bool hasStarted_ = false;
};

Scanner::Scanner(const Host& host) : host_(host) {}

std::unique_ptr<radio::Scan> Scanner::Start(radio::ScanPolicy policy, radio::ScanObserver& observer)
{
    auto running = std::make_unique<Running>(*this, policy, observer);
    // If discovery is wanted already, it reports its begin again.
    isDiscoveryWanted_ = false;
    Fit();
    return running;
}

void Scanner::Release()
{
    isReleased_ = true;
    Fit();
}

/// Requests of the backend what all scans together need.
void Scanner::Fit()
{
    const bool isWanted = !isReleased_ && !running_.empty();
    const bool isOff = !isReleased_ && std::ranges::any_of(running_, [](const auto& entry) {
        return entry.second->Policy() == radio::ScanPolicy::kLowLatency;
    });
    // The filter first: it counts from the begin of a discovery on.
    if (std::exchange(isFilterOff_, isOff) != isOff) {
        host_.Post([isOff](Backend& backend) { backend.duplicateFilter.SetOff(isOff); });
    }
    if (std::exchange(isDiscoveryWanted_, isWanted) != isWanted) {
        host_.Post([isWanted](Backend& backend) { backend.discovery.Want(isWanted); });
    }
}

/// Each scan that exists now, unless it is destroyed in between.
template <typename Use>
void Scanner::ForEach(const Use& use)
{
    const std::uint64_t last = lastId_;
    for (auto next = running_.begin(); next != running_.end() && next->first <= last;) {
        const std::uint64_t id = next->first;
        use(*next->second);
        next = running_.upper_bound(id);
    }
}

void Scanner::Heard(const AdvertisingReport& report)
{
    const radio::Heard heard = HeardOf(report);
    ForEach([&](Running& running) { running.Receive(heard); });
}

void Scanner::DiscoveryBegan()
{
    ForEach([](Running& running) { running.Begin(); });
}

void Scanner::DiscoveryEnded(radio::Outcome why)
{
    ForEach([why](Running& running) { running.End(why); });
}

}  // namespace pelacon::service::linux_radios::bluetooth
