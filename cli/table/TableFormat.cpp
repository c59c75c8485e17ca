#include "table/TableFormat.h"

#include "table/CellNumber.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

namespace vx::cli {
namespace {

constexpr std::array<char, 3> DELIMITERS{'\t', ';', ','};
constexpr std::size_t SAMPLE_LINES = 64;

/// The lines of the sample; line ends inside quotes do not end a line.
std::vector<std::string_view> splitLines(std::string_view sample)
{
    std::vector<std::string_view> lines;
    std::size_t start = 0;
    bool quoted = false;
    for (std::size_t i = 0; i <= sample.size() && lines.size() < SAMPLE_LINES; ++i) {
        const bool atEnd = i == sample.size();
        if (!atEnd && sample[i] == '"') {
            quoted = !quoted;
        }
        if (atEnd || (!quoted && (sample[i] == '\n' || sample[i] == '\r'))) {
            if (i > start) {
                lines.push_back(sample.substr(start, i - start));
            }
            start = i + 1;
        }
    }
    return lines;
}

std::size_t countOutsideQuotes(std::string_view line, char wanted)
{
    std::size_t count = 0;
    bool quoted = false;
    for (const char c : line) {
        quoted = quoted != (c == '"');
        count += static_cast<std::size_t>(!quoted && c == wanted);
    }
    return count;
}

char detectDelimiter(const std::vector<std::string_view>& lines)
{
    char best = ',';
    std::ptrdiff_t bestLines = 0;
    for (const char delimiter : DELIMITERS) {
        const std::size_t wanted = countOutsideQuotes(lines.front(), delimiter);
        if (wanted == 0) {
            continue;
        }
        const auto agreeing = std::count_if(lines.begin(), lines.end(), [&](std::string_view line) {
            return countOutsideQuotes(line, delimiter) == wanted;
        });
        if (agreeing > bestLines) {
            bestLines = agreeing;
            best = delimiter;
        }
    }
    return best;
}

/// Calls use(cell) with every cell of the line, its quotes taken off.
template <typename Use>
void forEachCell(std::string_view line, char delimiter, Use use)
{
    std::string cell;
    bool quoted = false;
    for (const char c : line) {
        if (c == '"') {
            quoted = !quoted;
        } else if (c == delimiter && !quoted) {
            use(cell);
            cell.clear();
        } else {
            cell += c;
        }
    }
    use(cell);
}

char detectDecimal(const std::vector<std::string_view>& lines, char delimiter)
{
    char decimal = 0;
    for (const std::string_view line : lines) {
        forEachCell(line, delimiter, [&decimal](const std::string& cell) {
            for (const char mark : {'.', ','}) {
                double value = 0;
                if (decimal == 0 && cell.find(mark) != std::string::npos &&
                    parseCell(cell, mark, value) == CellKind::Number) {
                    decimal = mark;
                }
            }
        });
        if (decimal != 0) {
            break;
        }
    }
    return decimal;
}

} // namespace

TableFormat detectFormat(std::string_view sample)
{
    const std::vector<std::string_view> lines = splitLines(sample);
    TableFormat format;
    if (lines.empty()) {
        return format;
    }
    format.delimiter = detectDelimiter(lines);
    format.decimal = detectDecimal(lines, format.delimiter);
    if (format.decimal == 0 && format.delimiter == ',') {
        format.decimal = '.';
    }
    return format;
}

} // namespace vx::cli
