#pragma once

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

/// The text without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

} // namespace vx::cli
