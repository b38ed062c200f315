#include <tests/model/Model.h>

#include <algorithm>
#include <sstream>

namespace pelacon::test::model {

namespace {

bool Stops(const Round& round, int client)
{
    return std::any_of(round.steps.begin(), round.steps.end(), [&](const Step& step) {
        return step.client == client && step.operation == Operation::kStopAndStart;
    });
}

bool MayFail(const Round& round, int client)
{
    return Stops(round, client) ||
           (round.disturbance != Disturbance::kNone && round.disturbance != Disturbance::kDelay);
}

bool BeginsAnew(const Round& round)
{
    return round.disturbance == Disturbance::kRestart || round.disturbance == Disturbance::kKill;
}

std::string Sentence(const Result& result, const std::string& what)
{
    std::ostringstream text;
    text << WordOf(result.step.operation) << ' ' << result.step.argument << " of client "
         << result.step.client << ", thread " << result.step.thread << " returned " << result.status
         << " '" << result.value << "': " << what;
    return text.str();
}

std::string FrequencyOf(int channel)
{
    return std::to_string((channel <= 14 ? 2407 : 5000) + 5 * channel);
}

}  // namespace

Model::Wrong Model::Check(const Round& round, const std::vector<Result>& results)
{
    if (Wrong wrong = FollowNames(round, results)) {
        return wrong;
    }
    for (const Result& result : results) {
        if (Wrong wrong = CheckOne(round, result)) {
            return wrong;
        }
    }
    FollowStops(round);
    return std::nullopt;
}

Model::Wrong Model::CheckOne(const Round& round, const Result& result)
{
    const bool mayFail = MayFail(round, result.step.client);
    const bool succeeds = result.status == 0;
    Thread& thread = ThreadOf(result.step);
    switch (result.step.operation) {
        case Operation::kGetFrequency:
            if (succeeds && result.value != FrequencyOf(result.step.argument)) {
                return Sentence(result, "the answer is another's");
            }
            break;
        case Operation::kGetName:
        case Operation::kSetName:
            break;  // see FollowNames
        case Operation::kRegisterTable:
            if (result.status == Result::kSkipped) {
                return thread.isTableRegistered ? Wrong()
                                                : Sentence(result, "the table is not registered");
            }
            thread.isTableRegistered = succeeds;
            break;
        case Operation::kUnregisterTable:
            thread.isTableRegistered = false;
            return succeeds ? Wrong() : Sentence(result, "it cannot fail");
        case Operation::kAddListener:
        case Operation::kUseListener:
        case Operation::kRemoveListener:
            return CheckListener(mayFail, result);
        case Operation::kStopAndStart:
            return succeeds ? Wrong() : Sentence(result, "it cannot fail");
    }
    return succeeds || mayFail ? Wrong() : Sentence(result, "nothing was disturbed");
}

Model::Wrong Model::CheckListener(bool mayFail, const Result& result)
{
    Listener& listener = ThreadOf(result.step).listener;
    const bool succeeds = result.status == 0;
    if (result.step.operation == Operation::kAddListener) {
        if (result.status == Result::kSkipped) {
            return listener != Listener::kNone ? Wrong() : Sentence(result, "there is none");
        }
        if (succeeds && !ids_.insert(result.value).second) {
            return Sentence(result, "the id was given out before");
        }
        listener = !succeeds ? Listener::kNone : mayFail ? Listener::kUncertain : Listener::kKnown;
        return succeeds || mayFail ? Wrong() : Sentence(result, "nothing was disturbed");
    }
    const Listener before = listener;
    if (result.step.operation == Operation::kRemoveListener) {
        listener = Listener::kNone;
    }
    if (before == Listener::kNone && succeeds) {
        return Sentence(result, "there is no such listener");
    }
    if (before == Listener::kKnown && !succeeds && !mayFail) {
        return Sentence(result, "the service has forgotten the listener");
    }
    return std::nullopt;
}

/// Reads and writes of a round are in any order, and a write that fails may have been done.
Model::Wrong Model::FollowNames(const Round& round, const std::vector<Result>& results)
{
    std::set<std::string> written;
    std::set<std::string> read;
    bool isOverwritten = BeginsAnew(round);
    if (isOverwritten) {
        written.insert(firstName_);
    }
    for (const Result& result : results) {
        if (result.step.operation == Operation::kSetName) {
            written.insert(NameOf(result.step.argument));
            isOverwritten = isOverwritten || result.status == 0;
        }
    }
    for (const Result& result : results) {
        if (result.step.operation == Operation::kGetName && result.status == 0) {
            read.insert(result.value);
            if (!names_.contains(result.value) && !written.contains(result.value)) {
                return Sentence(result, "the adapter cannot have this name");
            }
        }
    }
    if (written.empty() && read.size() > 1) {
        return "the name changed without a reason";
    }
    if (written.empty() && !read.empty()) {
        names_ = read;
    }
    if (isOverwritten) {
        names_.clear();
    }
    names_.insert(written.begin(), written.end());
    return std::nullopt;
}

/// A client that starts anew is another one to the service, which does not know its listeners.
void Model::FollowStops(const Round& round)
{
    for (int client = 0; client < kClients; ++client) {
        for (Thread& thread : threads_.at(static_cast<std::size_t>(client))) {
            if (thread.listener != Listener::kNone && Stops(round, client)) {
                thread.listener = Listener::kUncertain;
            }
        }
    }
}

Model::Wrong Model::CheckTables(int client, const std::array<bool, kThreads>& called) const
{
    for (std::size_t thread = 0; thread < called.size(); ++thread) {
        const bool expected =
            threads_.at(static_cast<std::size_t>(client)).at(thread).isTableRegistered;
        if (called.at(thread) != expected) {
            return "the table of client " + std::to_string(client) + ", thread " +
                   std::to_string(thread) +
                   (expected ? " is registered, but not called" : " is called, but not registered");
        }
    }
    return std::nullopt;
}

}  // namespace pelacon::test::model
