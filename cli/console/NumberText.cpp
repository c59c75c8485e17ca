#include "console/NumberText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace vx::cli {
namespace {

/// Longer than any shortest text of a float.
using Buffer = std::array<char, 64>;

/// Whether a number is easier to read without exponent.
bool isPlain(float value)
{
    const float magnitude = std::abs(value);
    return value == 0.0F || (magnitude >= 1e-4F && magnitude < 1e10F);
}

} // namespace

QString numberText(float value)
{
    Buffer buffer{};
    const auto format = isPlain(value) ? std::chars_format::fixed : std::chars_format::general;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, format);
    return QString::fromLatin1(buffer.data(), result.ptr - buffer.data());
}

double shortestDouble(float value)
{
    if (!std::isfinite(value)) {
        return static_cast<double>(value);
    }
    Buffer buffer{};
    const auto printed = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    double result = 0;
    std::from_chars(buffer.data(), printed.ptr, result);
    return result;
}

} // namespace vx::cli
