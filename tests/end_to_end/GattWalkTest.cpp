#include <tests/end_to_end/GattWalk.h>

#include <gtest/gtest.h>

namespace pelacon::test {

namespace {

TEST(GattWalk, AnswersAsTheModelSays)
{
    WalkGattRandomly(4, 100, 1);
}

}  // namespace

}  // namespace pelacon::test
