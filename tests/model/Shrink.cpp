#include <tests/model/Shrink.h>

#include <algorithm>
#include <iterator>

namespace pelacon::test::model {

namespace {

using Fails = std::function<bool(const Plan& part)>;

/// Leaves out pieces of this many items, as long as the plan still fails. `items` finds them in a
/// plan.
template <typename Items>
void LeaveOut(Plan& plan, std::size_t size, const Items& items, const Fails& fails)
{
    for (std::size_t begin = 0; begin < items(plan).size();) {
        Plan shorter = plan;
        auto& rest = items(shorter);
        const auto first = std::next(rest.begin(), static_cast<std::ptrdiff_t>(begin));
        const std::size_t count = std::min(size, rest.size() - begin);
        rest.erase(first, std::next(first, static_cast<std::ptrdiff_t>(count)));
        if (fails(shorter)) {
            plan = std::move(shorter);
        } else {
            begin += size;
        }
    }
}

}  // namespace

Plan Shrink(Plan plan, int runs, const Fails& fails)
{
    const Fails tries = [&](const Plan& part) { return runs-- > 0 && fails(part); };
    const auto rounds = [](Plan& of) -> Plan& { return of; };
    for (std::size_t size = std::max<std::size_t>(plan.size() / 2, 1); size > 0; size /= 2) {
        LeaveOut(plan, size, rounds, tries);
    }
    for (std::size_t index = 0; index < plan.size(); ++index) {
        Plan calmer = plan;
        calmer[index].disturbance = Disturbance::kNone;
        if (plan[index].disturbance != Disturbance::kNone && tries(calmer)) {
            plan = std::move(calmer);
        }
        LeaveOut(
            plan, 1, [index](Plan& of) -> std::vector<Step>& { return of[index].steps; }, tries);
    }
    return plan;
}

}  // namespace pelacon::test::model
