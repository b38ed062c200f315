// Medians and percentiles.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace pelacon::bench {

/// The quantile for a share of 0 to 1. There must be at least one value.
template <typename Value>
Value Percentile(std::vector<Value> values, double share)
{
    const auto last = static_cast<double>(values.size() - 1);
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(share * last + 0.5);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

template <typename Value>
Value Median(std::vector<Value> values)
{
    return Percentile(std::move(values), 0.5);
}

}  // namespace pelacon::bench
