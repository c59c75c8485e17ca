#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vx::cli {

/// What the text of a table cell turned out to be.
enum class CellKind
{
    Number,  ///< a number, the value is set
    Missing, ///< empty, NaN or N/A: no sample was taken
    NoNumber ///< any other text
};

/// Reads one cell as a number.
///
/// Blanks around the number do not count, and a leading plus sign is allowed. Numbers beyond the range
/// of a double become infinite, those too small become 0.
/// @param text     the cell without its quotes
/// @param decimal  '.' or ','; the other one is no part of a number
/// @param value    set for a number, NaN for a missing one, untouched otherwise
CellKind parseCell(std::string_view text, char decimal, double& value);

/// Reads a number without exponent that begins at `text`, such as "-3.8457".
///
/// Up to 2^53 and with at most 22 decimals, digits and power of ten are exact doubles and their quotient is
/// the nearest double, as std::from_chars gives it; everything else is left to that. Reading stops at the
/// first other character, of which there must be one.
/// @return  where the number ends, or null when it is not of that kind; `value` is then undefined
inline const char* parsePlainNumber(const char* text, double& value)
{
    constexpr std::array POWERS_OF_TEN{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                       1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    constexpr std::uint64_t LARGEST_EXACT = std::uint64_t{1} << 53;
    constexpr std::ptrdiff_t MOST_DIGITS = 19; // fit into 64 bits
    const bool negative = *text == '-';
    const char* at = text + static_cast<int>(negative);
    const char* const digits = at;
    std::uint64_t number = 0;
    const auto takeDigits = [&at, &number] {
        for (auto digit = static_cast<unsigned>(*at) - '0'; digit < 10;
             digit = static_cast<unsigned>(*++at) - '0') {
            number = number * 10 + digit;
        }
    };
    takeDigits();
    std::ptrdiff_t count = at - digits;
    std::ptrdiff_t decimals = 0;
    if (*at == '.') {
        const char* const point = at++;
        takeDigits();
        decimals = at - point - 1;
        count += decimals;
    }
    if (count == 0 || count > MOST_DIGITS || number > LARGEST_EXACT || (*at | 0x20) == 'e') {
        return nullptr;
    }
    const double magnitude = static_cast<double>(number) / POWERS_OF_TEN[static_cast<std::size_t>(decimals)];
    value = negative ? -magnitude : magnitude;
    return at;
}

/// The text without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

} // namespace vx::cli
