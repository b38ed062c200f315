// What may be true of the service and the library.
#pragma once

#include <tests/model/Operations.h>

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace pelacon::test::model {

/// What a step returned.
struct Result {
    Step step;
    int status = 0;     ///< 0 is success; kSkipped: there was nothing to do
    std::string value;  ///< name, frequency or id

    static constexpr int kSkipped = -100'000;
};

/// Knows what may be true before a round, which results the round may have, and what may be true
/// afterwards. What is wrong is returned as a sentence.
class Model {
  public:
    using Wrong = std::optional<std::string>;

    explicit Model(std::string firstName) : firstName_(firstName), names_{std::move(firstName)} {}

    Wrong Check(const Round& round, const std::vector<Result>& results);

    /// Checks which tables of a client were called for a change after the round.
    Wrong CheckTables(int client, const std::array<bool, kThreads>& called) const;

  private:
    /// A scan listener, as the service knows it.
    enum class Listener { kNone, kKnown, kUncertain };

    struct Thread {
        bool isTableRegistered = false;
        Listener listener = Listener::kNone;
    };

    Wrong CheckOne(const Round& round, const Result& result);
    Wrong CheckListener(bool mayFail, const Result& result);
    Wrong FollowNames(const Round& round, const std::vector<Result>& results);
    void FollowStops(const Round& round);
    Thread& ThreadOf(const Step& step)
    {
        return threads_.at(static_cast<std::size_t>(step.client))
            .at(static_cast<std::size_t>(step.thread));
    }

    const std::string firstName_;  // after a start of the service
    std::set<std::string> names_;  // one of these is the adapter's
    std::set<std::string> ids_;    // that were given out
    std::array<std::array<Thread, kThreads>, kClients> threads_{};
};

}  // namespace pelacon::test::model
