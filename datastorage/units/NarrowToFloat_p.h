#pragma once

#include <limits>

namespace vx::datastorage {

/// `value` rounded to the nearest float. A number outside the range of float becomes infinite, which the
/// language leaves undefined for a plain conversion; NaN stays NaN.
[[nodiscard]] constexpr float narrowToFloat(double value)
{
    constexpr double largest = static_cast<double>(std::numeric_limits<float>::max());
    constexpr double firstInfinite = 0x1.ffffffp127; // half a step above the largest float
    constexpr float infinity = std::numeric_limits<float>::infinity();
    if (value >= firstInfinite)
        return infinity;
    if (value <= -firstInfinite)
        return -infinity;
    if (value > largest)
        return std::numeric_limits<float>::max();
    if (value < -largest)
        return std::numeric_limits<float>::lowest();
    return static_cast<float>(value);
}

} // namespace vx::datastorage
