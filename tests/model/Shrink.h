// Makes a plan that fails shorter.
#pragma once

#include <tests/model/Operations.h>

#include <functional>

namespace pelacon::test::model {

/// Returns the shortest part of the plan that was seen to fail. Leaves out rounds first, in ever
/// smaller pieces, then disturbances, then single steps. Calls `fails` at most `runs` times.
Plan Shrink(Plan plan, int runs, const std::function<bool(const Plan& part)>& fails);

}  // namespace pelacon::test::model
