#include <tests/end_to_end/GattWalk.h>

#include <gtest/gtest.h>

namespace pelacon::test {

namespace {

class GattWalkLong : public ::testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(Seeds, GattWalkLong, ::testing::Values(100U, 200U, 300U));

TEST_P(GattWalkLong, AnswersAsTheModelSays)
{
    WalkGattRandomly(8, 1000, GetParam());
}

}  // namespace

}  // namespace pelacon::test
