// What a run of the model test does, as a list that a seed decides.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace pelacon::test::model {

inline constexpr int kClients = 2;  ///< processes
inline constexpr int kThreads = 3;  ///< of each
inline constexpr int kNames = 5;

/// A public operation. Each thread has a table for changes of the adapter and a scan listener.
enum class Operation {
    kGetFrequency,     ///< of the argument, a channel
    kGetName,          ///< of the adapter, which all share
    kSetName,          ///< to the name with the number that is the argument
    kRegisterTable,    ///< unless it is registered
    kUnregisterTable,  ///< also if it is not registered
    kAddListener,      ///< unless the thread has one
    kUseListener,      ///< or one that does not exist: removes its filters
    kRemoveListener,   ///< or one that does not exist
    kStopAndStart,     ///< the library
};
inline constexpr int kOperations = 9;

struct Step {
    int client = 0;
    int thread = 0;
    Operation operation{};
    int argument = 0;
};

/// What happens to the service while the steps of a round are under way.
enum class Disturbance {
    kNone,
    kDelay,  ///< of some requests
    kEmpty,  ///< answers
    kRefusals,
    kLostCalls,   ///< connections that are closed instead of an answer
    kDisconnect,  ///< the event connections
    kMalformed,   ///< notifications
    kRestart,     ///< without an end of the process
    kKill,
};
inline constexpr int kDisturbances = 9;

/// Steps that are under way at the same time; of one thread there is one at most.
struct Round {
    std::vector<Step> steps;
    Disturbance disturbance = Disturbance::kNone;
    int delayMs = 0;  ///< from the steps' begin to the disturbance
};

using Plan = std::vector<Round>;

/// The same for the same seed.
Plan MakePlan(std::uint32_t seed, int rounds);

/// The word for it between the test and its clients.
const char* WordOf(Operation operation);
std::optional<Operation> OperationOf(const std::string& word);

/// A line for each step and each disturbance.
std::string TextOf(const Plan& plan);

/// The name with this number.
std::string NameOf(int number);

}  // namespace pelacon::test::model
