#include <service/simulation/Scanner.h>

namespace pelacon::service::simulation {

/// One scan, from its start on.
class Scanner::Running : public radio::Scan {
  public:
    Running(Scanner& radio, radio::ScanPolicy policy, radio::ScanObserver& observer)
        : radio_(radio),
          policy_(policy),
          observer_(observer),
          activity_(radio.scheduler_, radio.activities_)
    {}

    void Begin()
    {
        activity_.Begin(
            radio_.stack_.Next(StackOperation::kScan),
            [this] {
                receiver_ = radio_.air_.Listen(policy_, [this](const radio::Heard& heard) {
                    if (radio_.adapter_.IsOn()) {
                        observer_.Received(heard);
                    }
                });
                observer_.Started();
            },
            [this](radio::Outcome why) {
                receiver_.reset();
                observer_.Ended(why);
            });
    }

  private:
    Scanner& radio_;
    radio::ScanPolicy policy_;
    radio::ScanObserver& observer_;
    std::unique_ptr<Air::Receiver> receiver_;
    StackActivity activity_;
};

std::unique_ptr<radio::Scan> Scanner::Start(radio::ScanPolicy policy, radio::ScanObserver& observer)
{
    auto running = std::make_unique<Running>(*this, policy, observer);
    running->Begin();
    return running;
}

}  // namespace pelacon::service::simulation
