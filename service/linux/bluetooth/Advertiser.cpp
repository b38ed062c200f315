#include <service/base/Log.h>
#include <service/linux/bluetooth/Advertiser.h>

#include <utility>

namespace pelacon::service::linux_radios::bluetooth {

namespace {

/// In the loop's thread: an advertisement is sent while this exists.
class OnAir {
  public:
    OnAir(Advertisements& all, const radio::Advertising& wanted, Advertisements::OnOutcome started,
          Advertisements::OnOutcome ended)
        : all_(all), number_(all.Add(wanted, std::move(started), std::move(ended)))
    {}
    ~OnAir() { all_.Remove(number_); }
    OnAir(const OnAir&) = delete;
    OnAir& operator=(const OnAir&) = delete;

  private:
    Advertisements& all_;
    std::uint64_t number_;
};

}  // namespace

/// One advertisement, from its start on.
class Advertiser::Running : public radio::Advertisement {
  public:
    Running(Advertiser& radio, const radio::Advertising& wanted,
            radio::AdvertisementObserver& observer)
        : radio_(radio), observer_(observer), upcalls_(radio.gate_, *this)
    {
        radio_.running_.insert(this);
        if (!radio_.isReleased_) {
            Begin(wanted);
        }
    }
    ~Running() override { radio_.running_.erase(this); }

    void Withdraw() { onAir_.reset(); }

  private:
    void Begin(const radio::Advertising& wanted)
    {
        onAir_ =
            radio_.host_.Create<OnAir>([wanted, started = upcalls_.To(&Running::Started),
                                        ended = upcalls_.To(&Running::Ended)](Backend& backend) {
                return std::make_unique<OnAir>(backend.advertisements, wanted, started, ended);
            });
    }

    void Started(radio::Outcome outcome)
    {
        if (outcome == radio::Outcome::kDone) {
            observer_.Started();
        } else {
            Ended(outcome);
        }
    }

    void Ended(radio::Outcome why) { observer_.Ended(why); }

    Advertiser& radio_;
    radio::AdvertisementObserver& observer_;
    Upcalls<Running> upcalls_;
    std::unique_ptr<InLoop<OnAir>> onAir_;
};

Advertiser::Advertiser(const Host& host, std::shared_ptr<Gate> gate)
    : host_(host), gate_(std::move(gate))
{}

std::unique_ptr<radio::Advertisement> Advertiser::Start(const radio::Advertising& advertising,
                                                        radio::AdvertisementObserver& observer)
{
    if (advertising.channels != radio::kAllAdvertisingChannels &&
        !std::exchange(areChannelsLogged_, true)) {
        log::Info("advertisements are sent on all channels: this adapter's cannot be chosen");
    }
    return std::make_unique<Running>(*this, advertising, observer);
}

void Advertiser::Release()
{
    isReleased_ = true;
    for (Running* const running : running_) {
        running->Withdraw();
    }
}

}  // namespace pelacon::service::linux_radios::bluetooth
