#include <service/simulation/StackConfig.h>

#include <string_view>
#include <utility>

namespace pelacon::service::simulation {

using namespace std::chrono_literals;
using radio::Outcome;

namespace {

constexpr std::array<std::pair<std::string_view, StackOperation>, kStackOperations> kNames{
    {{"switch", StackOperation::kSwitch},
     {"rename", StackOperation::kRename},
     {"advertise", StackOperation::kAdvertise},
     {"scan", StackOperation::kScan},
     {"showService", StackOperation::kShowService},
     {"switchWifi", StackOperation::kSwitchWifi},
     {"createGroup", StackOperation::kCreateGroup},
     {"moveGroup", StackOperation::kMoveGroup}}};

bool CanEnd(StackOperation operation)
{
    return operation == StackOperation::kAdvertise || operation == StackOperation::kScan;
}

}  // namespace

StackOperation ReadStackOperation(const json::Reader& reader)
{
    return reader.Choice<StackOperation>(
        {kNames[0], kNames[1], kNames[2], kNames[3], kNames[4], kNames[5], kNames[6], kNames[7]});
}

StackBehaviour ReadStackBehaviour(json::Fields& fields, StackOperation operation)
{
    StackBehaviour behaviour;
    fields.Read("ms", behaviour.delay, 0ms, 10min);
    fields.Read("fails", behaviour.outcome,
                {{"no-adapter", Outcome::kNoAdapter},
                 {"off", Outcome::kOff},
                 {"blocked", Outcome::kBlocked},
                 {"not-permitted", Outcome::kNotPermitted},
                 {"limit-reached", Outcome::kLimitReached},
                 {"failed", Outcome::kFailed}});
    if (CanEnd(operation)) {
        fields.Read("endsAfterMs", behaviour.endsAfter, 0ms, 24h);
    }
    fields.Read("times", behaviour.times, 1);
    return behaviour;
}

void ReadStack(json::Fields& fields, StackConfig& config)
{
    for (const auto& [name, operation] : kNames) {
        if (const auto behaviour = fields.Optional(name)) {
            behaviour->Object([&, which = operation](json::Fields& its) {
                config[static_cast<std::size_t>(which)] = ReadStackBehaviour(its, which);
            });
        }
    }
}

}  // namespace pelacon::service::simulation
