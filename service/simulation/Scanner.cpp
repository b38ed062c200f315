#include <service/simulation/Scanner.h>

#include <algorithm>

namespace pelacon::service::simulation {

/// One scan, from its start on.
class Scanner::Running : public radio::Scan {
  public:
    Running(Scanner& radio, radio::ScanPolicy policy, radio::ScanObserver& observer)
        : radio_(radio), policy_(policy), observer_(observer), activity_(radio.scheduler_)
    {
        radio_.running_.push_back(this);
    }
    ~Running() override { std::erase(radio_.running_, this); }

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

    void End() { activity_.End(radio::Outcome::kFailed); }

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

std::size_t Scanner::EndAll()
{
    const std::vector<Running*> all = running_;
    for (Running* const one : all) {
        if (std::ranges::count(running_, one) != 0) {  // the end of one may be the end of another
            one->End();
        }
    }
    return all.size();
}

}  // namespace pelacon::service::simulation
