// Makes a plan that fails shorter.
#pragma once

#include <tests/model/Operations.h>

#include <functional>

namespace pelacon::test::model {

/// The shortest part of the plan that still fails, as far as that is found with so many runs: first
/// without rounds, in ever smaller pieces, then without disturbances and single steps.
Plan Shrink(Plan plan, int runs, const std::function<bool(const Plan& part)>& fails);

}  // namespace pelacon::test::model
