// Random numbers that can be repeated: the same seed gives the same numbers on every platform.
#pragma once

#include <cstdint>
#include <random>

namespace pelacon::service {

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    /// True with this probability (from 0 to 1).
    bool Chance(double probability)
    {
        constexpr double kScale = 1.0 / 9007199254740992.0;  // 2^-53
        return static_cast<double>(engine_() >> 11U) * kScale < probability;
    }

    /// A whole number from lowest to highest, both included.
    std::int64_t Between(std::int64_t lowest, std::int64_t highest)
    {
        const auto range = static_cast<std::uint64_t>(highest) - static_cast<std::uint64_t>(lowest);
        const std::uint64_t number = range == UINT64_MAX ? engine_() : engine_() % (range + 1);
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(lowest) + number);
    }

    std::uint64_t Next() { return engine_(); }

  private:
    std::mt19937_64 engine_;
};

}  // namespace pelacon::service
