#include <tests/model/Operations.h>

#include <algorithm>
#include <array>
#include <random>
#include <sstream>

namespace pelacon::test::model {

namespace {

constexpr std::array<const char*, kOperations> kWords{
    "get-frequency", "get-name",     "set-name",        "register-table", "unregister-table",
    "add-listener",  "use-listener", "remove-listener", "stop-and-start"};

constexpr std::array<const char*, kDisturbances> kDisturbanceWords{
    "nothing",    "delayed requests",       "empty answers", "refusals", "lost calls",
    "disconnect", "malformed notification", "restart",       "kill"};

/// As std::uniform_int_distribution, but the same in every standard library.
class Random {
  public:
    explicit Random(std::uint32_t seed) : numbers_(seed) {}

    int Below(int limit) { return static_cast<int>(numbers_() % static_cast<unsigned>(limit)); }

  private:
    std::mt19937 numbers_;
};

int ArgumentOf(Operation operation, Random& random)
{
    constexpr std::array kChannels{1, 6, 11, 36, 40, 149};
    switch (operation) {
        case Operation::kGetFrequency:
            return kChannels[static_cast<std::size_t>(
                random.Below(static_cast<int>(kChannels.size())))];
        case Operation::kSetName:
            return random.Below(kNames);
        default:
            return 0;
    }
}

Step MakeStep(int client, int thread, Random& random)
{
    auto operation = static_cast<Operation>(random.Below(kOperations));
    if (operation == Operation::kStopAndStart && random.Below(8) != 0) {
        operation = Operation::kUseListener;  // it disturbs all other steps of the client
    }
    return {client, thread, operation, ArgumentOf(operation, random)};
}

}  // namespace

Plan MakePlan(std::uint32_t seed, int rounds)
{
    Random random(seed);
    Plan plan(static_cast<std::size_t>(rounds));
    for (Round& round : plan) {
        for (int client = 0; client < kClients; ++client) {
            for (int thread = 0; thread < kThreads; ++thread) {
                if (random.Below(4) != 0) {
                    round.steps.push_back(MakeStep(client, thread, random));
                }
            }
        }
        if (random.Below(2) == 0) {
            round.disturbance = static_cast<Disturbance>(random.Below(kDisturbances));
            round.delayMs = random.Below(3);
        }
    }
    return plan;
}

const char* WordOf(Operation operation)
{
    return kWords.at(static_cast<std::size_t>(operation));
}

std::optional<Operation> OperationOf(const std::string& word)
{
    const auto* const found = std::find(kWords.begin(), kWords.end(), word);
    return found != kWords.end() ? std::optional(static_cast<Operation>(found - kWords.begin()))
                                 : std::nullopt;
}

std::string TextOf(const Plan& plan)
{
    std::ostringstream text;
    for (std::size_t index = 0; index < plan.size(); ++index) {
        const Round& round = plan[index];
        text << "round " << index + 1 << '\n';
        for (const Step& step : round.steps) {
            text << "  client " << step.client << ", thread " << step.thread << ": "
                 << WordOf(step.operation) << ' ' << step.argument << '\n';
        }
        if (round.disturbance != Disturbance::kNone) {
            text << "  after " << round.delayMs
                 << " ms: " << kDisturbanceWords.at(static_cast<std::size_t>(round.disturbance))
                 << '\n';
        }
    }
    return text.str();
}

std::string NameOf(int number)
{
    return "name-" + std::to_string(number);
}

}  // namespace pelacon::test::model
