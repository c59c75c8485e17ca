#include "table/CellNumber.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string>

namespace vx::cli {
namespace {

constexpr std::array<std::string_view, 3> MISSING_TEXTS{
    "nan",
    "n/a",
    "-nan",
};

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerText)
{
    return std::equal(text.begin(), text.end(), lowerText.begin(), lowerText.end(),
                      [](char a, char b) { return lower(a) == b; });
}

bool isMissing(std::string_view text)
{
    return text.empty() || std::any_of(MISSING_TEXTS.begin(), MISSING_TEXTS.end(),
                                       [text](auto missing) { return equalsIgnoringCase(text, missing); });
}

/// The value of a number that a double cannot hold: the wider type tells too large from too small, and
/// where even that does not reach, the sign of the exponent does.
double outOfRangeValue(std::string_view text)
{
    long double wide = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), wide);
    if (result.ec == std::errc{}) {
        return static_cast<double>(wide);
    }
    const std::size_t exponent = text.find_first_of("eE");
    const bool small =
        exponent != std::string_view::npos && exponent + 1 < text.size() && text[exponent + 1] == '-';
    const double magnitude = small ? 0.0 : std::numeric_limits<double>::infinity();
    return text.front() == '-' ? -magnitude : magnitude;
}

CellKind parsePointNumber(std::string_view text, double& value)
{
    double parsed = 0;
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, parsed);
    if (result.ptr != end || result.ec == std::errc::invalid_argument) {
        return CellKind::NoNumber;
    }
    value = result.ec == std::errc::result_out_of_range ? outOfRangeValue(text) : parsed;
    return CellKind::Number;
}

} // namespace

std::string_view trimmed(std::string_view text)
{
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

CellKind parseCell(std::string_view text, char decimal, double& value)
{
    text = trimmed(text);
    if (isMissing(text)) {
        value = std::numeric_limits<double>::quiet_NaN();
        return CellKind::Missing;
    }
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (text.empty() || text.front() == '-' || text.front() == '+') {
            return CellKind::NoNumber;
        }
    }
    if (decimal == '.') {
        return parsePointNumber(text, value);
    }
    if (text.find('.') != std::string_view::npos) {
        return CellKind::NoNumber;
    }
    std::string point(text);
    std::replace(point.begin(), point.end(), decimal, '.');
    return parsePointNumber(point, value);
}

} // namespace vx::cli
