// The cost of starting the library, and of a started library.
#include <PelaconSDK/PelaconSDK.h>
#include <bench/Bare.h>
#include <bench/Scenarios.h>
#include <bench/Statistics.h>

namespace pelacon::bench {

namespace {

class Lifecycle : public Scenario {
  public:
    explicit Lifecycle(Peers& peers) : peers_(peers) {}

    std::string Heading() const override { return "The library itself, with a service there"; }

    void Round(const Effort& effort, Turn /*turn*/) override
    {
        UseRuntimeFolder(peers_.serviceFolder);
        std::vector<double> durations;
        for (int count = 0; count < effort.starts; ++count) {
            const std::int64_t start = Now();
            PelaconSvcStart();
            PelaconSvcStop();
            durations.push_back(static_cast<double>(Now() - start));
        }
        startStop_.Add(Median(durations));

        Peer idle = Peer::InRole("idle", peers_.serviceFolder);
        idle.Hear();
        memory_.Add(std::stod(idle.Hear()));
        threads_.Add(std::stod(idle.Hear()));
    }

    std::vector<Row> Rows() const override { return {startStop_, memory_, threads_}; }

  private:
    Peers& peers_;
    Row startStop_{"PelaconSvcStart and PelaconSvcStop", Unit::kNanoseconds, AtMost(1e6)};
    Row memory_{"memory of an idle started client (RssAnon)", Unit::kKilobytes, AtMost(300)};
    Row threads_{"threads of an idle started client", Unit::kCount, AtMost(1)};
};

}  // namespace

std::unique_ptr<Scenario> MakeLifecycle(Peers& peers)
{
    return std::make_unique<Lifecycle>(peers);
}

}  // namespace pelacon::bench
