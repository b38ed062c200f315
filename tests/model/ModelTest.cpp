// Runs plans against the real service and library, and compares with the model. Of a plan that
// fails it prints the shortest part that still does. PELACON_MODEL_SECONDS says for how long, and
// PELACON_MODEL_SEED with which seed to begin.
#include <tests/model/Model.h>
#include <tests/model/Shrink.h>
#include <tests/support/ServiceProcess.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace pelacon::test::model {

namespace {

using Clock = std::chrono::steady_clock;

/// A process of the application, as ModelClient.cpp describes.
class Client {
  public:
    Client() : process_(PELACON_MODEL_CLIENT, {}, {.input = true})
    {
        if (NextLine() != "ready") {
            throw std::runtime_error("a client does not start");
        }
    }

    void Begin(const Step& step)
    {
        std::ostringstream line;
        line << step.thread << ' ' << WordOf(step.operation) << ' ' << step.argument;
        process_.Write(line.str());
    }

    /// Sets status and value of the step that is done next.
    void End(std::vector<Result>& results, int client)
    {
        std::istringstream words(NextLine());
        std::string word;
        int thread = -1;
        int status = 0;
        std::string value;
        words >> word >> thread >> status >> value;
        for (Result& result : results) {
            if (result.step.client == client && result.step.thread == thread) {
                result.status = status;
                result.value = value;
            }
        }
    }

    struct Changes {
        std::int32_t own = 0;
        std::array<std::int32_t, kThreads> ofThreads{};
    };

    Changes LastChanges()
    {
        process_.Write("tables");
        std::istringstream words(NextLine());
        std::string word;
        Changes changes;
        words >> word >> changes.own;
        for (std::int32_t& change : changes.ofThreads) {
            words >> change;
        }
        return changes;
    }

    void Leave()
    {
        process_.Write("end");
        if (process_.Wait() != 0) {
            throw std::runtime_error("a client does not end well: " + process_.Errors());
        }
    }

  private:
    std::string NextLine()
    {
        const auto line = process_.NextLine();
        if (!line) {
            throw std::runtime_error("a client has ended, or a call has not: " + process_.Errors());
        }
        if (line->starts_with("wrong ")) {
            throw std::runtime_error(*line);
        }
        return *line;
    }

    ChildProcess process_;
};

/// One run of a plan, with a service and clients of its own.
class Run {
  public:
    Run() : model_(service_.Command({{"command", "status"}})["adapter"]["name"]), clients_(kClients)
    {}

    /// Throws with a sentence about what is wrong.
    void Execute(const Plan& plan)
    {
        for (std::size_t index = 0; index < plan.size(); ++index) {
            try {
                Execute(plan[index]);
            } catch (const std::exception& wrong) {
                throw std::runtime_error("round " + std::to_string(index + 1) + ": " +
                                         wrong.what());
            }
        }
        for (Client& client : clients_) {
            client.Leave();
        }
    }

  private:
    Client& ClientOf(int number) { return clients_.at(static_cast<std::size_t>(number)); }

    static void Require(const Model::Wrong& wrong)
    {
        if (wrong) {
            throw std::runtime_error(*wrong);
        }
    }

    void Execute(const Round& round)
    {
        std::vector<Result> results;
        for (const Step& step : round.steps) {
            results.push_back({step, 0, {}});
            ClientOf(step.client).Begin(step);
        }
        Announce(++change_);  // callbacks while tables come and go
        std::this_thread::sleep_for(std::chrono::milliseconds(round.delayMs));
        Disturb(round.disturbance);
        for (const Step& step : round.steps) {
            ClientOf(step.client).End(results, step.client);
        }
        Require(model_.Check(round, results));
        Settle();
    }

    void Disturb(Disturbance disturbance)
    {
        const auto command = [&](const char* text) {
            service_.Command(nlohmann::json::parse(text));
        };
        switch (disturbance) {
            case Disturbance::kNone:
                return;
            case Disturbance::kDelay:
                return command(
                    R"({"command":"fault.add","fault":{"request":"any","do":"delay","ms":5,"times":4}})");
            case Disturbance::kEmpty:
                return command(
                    R"({"command":"fault.add","fault":{"request":"any","do":"empty","times":3}})");
            case Disturbance::kRefusals:
                return command(
                    R"({"command":"fault.add","fault":{"request":"any","do":"status","status":1,"times":3}})");
            case Disturbance::kLostCalls:
                return command(
                    R"({"command":"fault.add","fault":{"request":"any","do":"disconnect","times":3}})");
            case Disturbance::kDisconnect:
                return command(R"({"command":"disconnect"})");
            case Disturbance::kMalformed:
                return command(R"({"command":"malformed"})");
            case Disturbance::kRestart:
                return command(R"({"command":"restart"})");
            case Disturbance::kKill:
                service_.Kill();
                service_.Start();
                return;
        }
    }

    /// Notifies all clients that are connected of a change of the adapter that tells its number.
    void Announce(std::int32_t change)
    {
        std::ostringstream payload;
        for (int shift = 0; shift < 32; shift += 8) {
            constexpr const char* kDigits = "0123456789abcdef";
            const auto byte = (static_cast<std::uint32_t>(change) >> shift) & 0xFFU;
            payload << kDigits[byte >> 4U] << kDigits[byte & 0xFU];
        }
        service_.Command(
            {{"command", "notify"}, {"id", "BtStateChanged"}, {"payload", payload.str()}});
    }

    /// Waits until all clients are connected and have been notified of a change.
    void AnnounceToAll(std::int32_t change)
    {
        const bool done = Eventually([&] {
            Announce(change);
            return std::all_of(clients_.begin(), clients_.end(),
                               [&](Client& client) { return client.LastChanges().own == change; });
        });
        if (!done) {
            throw std::runtime_error("a registered table is not called any more");
        }
    }

    /// Waits until the disturbance is over. Then checks which tables are called for a change. A
    /// table is called after the client's own one: once that is called for a second change, all
    /// tables have been called for the first.
    void Settle()
    {
        service_.Command({{"command", "fault.clear"}});
        const std::int32_t change = change_ += 2;
        AnnounceToAll(change - 1);
        AnnounceToAll(change);
        for (int client = 0; client < kClients; ++client) {
            std::array<bool, kThreads> called{};
            const Client::Changes changes = ClientOf(client).LastChanges();
            for (std::size_t thread = 0; thread < called.size(); ++thread) {
                called.at(thread) = changes.ofThreads.at(thread) >= change - 1;
            }
            Require(model_.CheckTables(client, called));
        }
    }

    ServiceProcess service_;
    Model model_;
    std::vector<Client> clients_;
    std::int32_t change_ = 1000;  // no state of an adapter
};

/// What is wrong with a run of the plan; nothing if all is right.
Model::Wrong Try(const Plan& plan)
{
    try {
        Run().Execute(plan);
        return std::nullopt;
    } catch (const std::exception& wrong) {
        return wrong.what();
    }
}

/// Prints the shortest part of the plan that was seen to fail.
std::string Explain(const Plan& plan, std::string wrong)
{
    constexpr int kAttempts = 3;  // what depends on time does not fail each time
    constexpr int kRuns = 300;
    const Plan shortest = Shrink(plan, kRuns, [&](const Plan& part) {
        for (int attempt = 0; attempt < kAttempts; ++attempt) {
            if (Model::Wrong again = Try(part)) {
                wrong = *again;
                return true;
            }
        }
        return false;
    });
    return wrong + "\nthe shortest plan that was seen to fail:\n" + TextOf(shortest);
}

std::uint32_t Number(const char* name, std::uint32_t otherwise)
{
    const char* const text = std::getenv(name);
    return text != nullptr ? static_cast<std::uint32_t>(std::strtoul(text, nullptr, 10))
                           : otherwise;
}

TEST(ModelTest, TheLibraryDoesOnlyWhatTheModelAllows)
{
    constexpr int kRounds = 25;
    const std::uint32_t first = Number("PELACON_MODEL_SEED", 1);
    const std::uint32_t seconds = Number("PELACON_MODEL_SECONDS", 0);
    const auto end = Clock::now() + std::chrono::seconds(seconds);
    std::uint32_t seed = first;
    do {
        const Plan plan = MakePlan(seed, kRounds);
        if (const Model::Wrong wrong = Try(plan)) {
            FAIL() << "seed " << seed << ": " << Explain(plan, *wrong);
        }
        ++seed;
    } while (Clock::now() < end || (seconds == 0 && seed < first + PELACON_MODEL_SEEDS));
    std::cout << seed - first << " plans of " << kRounds << " rounds, from seed " << first
              << std::endl;
}

}  // namespace

}  // namespace pelacon::test::model
