#pragma once

#include <string_view>

namespace vx::cli {

/// How a table is written.
struct TableFormat
{
    /// Between the cells of a row: '\t', ';' or ','.
    char delimiter = ',';
    /// Decimal mark of its numbers: '.' or ',', or 0 while no number has shown it.
    char decimal = '.';
};

/// Tells how a table is written from its first lines.
///
/// The delimiter is the one of tab, semicolon and comma that divides most lines into as many cells as
/// the first line; on a tie the earlier of this list. Characters inside quotes do not count. With
/// another delimiter than a comma, the first number with a decimal mark decides the mark.
/// @param sample  the beginning of the table after a byte order mark, any number of whole or cut lines
TableFormat detectFormat(std::string_view sample);

} // namespace vx::cli
