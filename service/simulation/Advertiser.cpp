#include <service/simulation/Advertiser.h>

#include <optional>

namespace pelacon::service::simulation {

/// One advertisement of a program, from its start on.
class Advertiser::Running : public radio::Advertisement {
  public:
    Running(Advertiser& radio, const radio::Advertising& advertising,
            radio::AdvertisementObserver& observer)
        : radio_(radio),
          advertising_(advertising),
          observer_(observer),
          activity_(radio.scheduler_, radio.activities_)
    {}

    void Begin()
    {
        activity_.Begin(
            radio_.stack_.Next(StackOperation::kAdvertise),
            [this] {
                const std::uint64_t address = radio_.adapter_.Address();
                onAir_.emplace(radio_.scheduler_, radio_.air_,
                               Signal{address, advertising_.txPower - kPathLoss, kVariation},
                               advertising_, Scheduler::Duration::zero());
                observer_.Started();
            },
            [this](radio::Outcome why) {
                onAir_.reset();
                observer_.Ended(why);
            });
    }

  private:
    Advertiser& radio_;
    radio::Advertising advertising_;
    radio::AdvertisementObserver& observer_;
    std::optional<Transmitter> onAir_;
    StackActivity activity_;
};

std::unique_ptr<radio::Advertisement> Advertiser::Start(const radio::Advertising& advertising,
                                                        radio::AdvertisementObserver& observer)
{
    auto running = std::make_unique<Running>(*this, advertising, observer);
    running->Begin();
    return running;
}

}  // namespace pelacon::service::simulation
