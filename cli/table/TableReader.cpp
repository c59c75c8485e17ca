#include "table/TableReader.h"

#include "table/CellNumber.h"

#include <QtCore/QIODevice>
#include <QtCore/QStringDecoder>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>

namespace vx::cli {
namespace {

constexpr std::string_view UTF8_MARK = "\xEF\xBB\xBF";
constexpr std::size_t FORMAT_SAMPLE_BYTES = std::size_t{64} * 1024;

/// A text for a message: cut, so that the message stays one readable line.
QString quotedForMessage(std::string_view text)
{
    constexpr int LONGEST = 40;
    QString shown = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    if (shown.size() > LONGEST) {
        shown = shown.left(LONGEST) + QStringLiteral("...");
    }
    return QLatin1Char('"') + shown + QLatin1Char('"');
}

bool isLineEnd(char c)
{
    return c == '\n' || c == '\r';
}

} // namespace

TableReader::TableReader(QIODevice& device)
    : m_device(device), m_buffer(BUFFER_SIZE + 1) // behind the bytes stands a NUL, where every number ends
{
    m_begin = m_buffer.data();
    m_end = m_begin;
}

bool TableReader::open(InputError& error)
{
    while (static_cast<std::size_t>(m_end - m_begin) < FORMAT_SAMPLE_BYTES && fill()) {
    }
    if (!m_error.text.isEmpty()) {
        error = m_error;
        return false;
    }
    const std::string_view start(m_begin, static_cast<std::size_t>(m_end - m_begin));
    if (start.substr(0, UTF8_MARK.size()) == UTF8_MARK) {
        m_begin += UTF8_MARK.size();
    }
    const std::string_view sample(m_begin, static_cast<std::size_t>(m_end - m_begin));
    m_format = detectFormat(sample.substr(0, FORMAT_SAMPLE_BYTES));

    Step step = skipBlankLines();
    m_blankLines = 0;
    if (step == Step::Done && m_begin == m_end) {
        step = fail(0, QStringLiteral("expected a table with a heading line, found an empty file"));
    }
    if (step != Step::Bad) {
        step = readFirstRow();
    }
    if (step == Step::Bad) {
        error = m_error;
        return false;
    }
    return checkFirstRow(error);
}

TableReader::Step TableReader::readFirstRow()
{
    for (;;) {
        const char* next = nullptr;
        qint64 lineEnds = 0;
        const Step step = splitRow(m_firstRow, next, lineEnds);
        if (step != Step::More) {
            return step;
        }
        if (fillOrFail() == Step::Bad) {
            return Step::Bad;
        }
    }
}

bool TableReader::checkFirstRow(InputError& error)
{
    const char decimal = m_format.decimal == 0 ? '.' : m_format.decimal;
    bool anyText = false;
    for (std::size_t i = 0; i < m_firstRow.size(); ++i) {
        const std::string& cell = m_firstRow[i];
        QStringDecoder decoder(QStringDecoder::Utf8);
        const QString decoded =
            decoder.decode(QByteArrayView(cell.data(), static_cast<qsizetype>(cell.size())));
        if (decoder.hasError()) {
            error = InputError{{}, m_line, static_cast<qint64>(i + 1), QStringLiteral("expected UTF-8 text")};
            return false;
        }
        double value = 0;
        anyText = anyText || parseCell(cell, decimal, value) == CellKind::NoNumber;
    }
    m_hasHeadings = anyText;
    return true;
}

QStringList TableReader::readHeadings()
{
    m_headings = m_firstRow;
    m_columns = firstRowSize();
    const char* next = m_begin;
    qint64 lineEnds = 0;
    splitRow(m_firstRow, next, lineEnds);
    m_begin = next;
    m_line += lineEnds + 1;
    QStringList headings;
    for (const std::string& heading : m_headings) {
        headings.append(QString::fromStdString(heading).trimmed());
    }
    return headings;
}

qint64 TableReader::readRows(std::span<double> values, InputError& error)
{
    const auto columns = static_cast<std::size_t>(m_columns);
    const std::size_t wanted = columns == 0 ? 0 : values.size() / columns;
    std::size_t rows = 0;
    while (rows < wanted) {
        double* row = values.data() + rows * columns;
        if (m_missingRows > 0) {
            --m_missingRows;
            *row = std::numeric_limits<double>::quiet_NaN();
            ++rows;
            continue;
        }
        const Step step = parseNext(row);
        if (step == Step::Bad) {
            error = m_error;
            return -1;
        }
        if (step == Step::More) {
            break;
        }
        rows += static_cast<std::size_t>(m_missingRows == 0);
    }
    return static_cast<qint64>(rows);
}

/// Done with the next row parsed or with m_missingRows set, More at the end of the table.
TableReader::Step TableReader::parseNext(double* values)
{
    for (;;) {
        if (skipBlankLines() == Step::Bad) {
            return Step::Bad;
        }
        if (m_begin == m_end) {
            return Step::More;
        }
        if (m_blankLines > 0) {
            if (m_columns != 1) {
                m_line -= m_blankLines;
                return fail(0, QStringLiteral("expected %1 cells, found an empty line").arg(m_columns));
            }
            m_missingRows = m_blankLines;
            m_blankLines = 0;
            return Step::Done;
        }
        const Step step = parseRow(values);
        if (step != Step::More) {
            return step;
        }
        if (fillOrFail() == Step::Bad) {
            return Step::Bad;
        }
    }
}

/// Moves the unread bytes to the front and reads more behind them; false when nothing came.
bool TableReader::fill()
{
    const auto kept = static_cast<std::size_t>(m_end - m_begin);
    if (m_begin != m_buffer.data()) {
        std::memmove(m_buffer.data(), m_begin, kept);
        m_begin = m_buffer.data();
        m_end = m_begin + kept;
    }
    if (m_atEnd || kept == BUFFER_SIZE) {
        return false;
    }
    const qint64 count = m_device.read(m_buffer.data() + kept, static_cast<qint64>(BUFFER_SIZE - kept));
    if (count <= 0) {
        m_atEnd = true;
        if (count < 0) {
            fail(0, QStringLiteral("cannot be read: ") + m_device.errorString());
        }
        return false;
    }
    m_end += count;
    m_buffer[kept + static_cast<std::size_t>(count)] = '\0';
    m_bytesRead += count;
    return true;
}

/// Done when there is more to look at or the end of the table is known now.
TableReader::Step TableReader::fillOrFail()
{
    if (fill()) {
        return Step::Done;
    }
    if (!m_error.text.isEmpty()) {
        return Step::Bad;
    }
    if (m_atEnd) {
        return Step::Done;
    }
    return fail(0, QStringLiteral("expected a row of at most %1 bytes").arg(BUFFER_SIZE));
}

TableReader::Step TableReader::skipBlankLines()
{
    for (;;) {
        if (m_begin == m_end) {
            if (m_atEnd) {
                return Step::Done;
            }
            if (fillOrFail() == Step::Bad) {
                return Step::Bad;
            }
            continue;
        }
        if (!isLineEnd(*m_begin)) {
            return Step::Done;
        }
        const char* next = m_begin;
        if (skipLineEnd(next) == Step::More) {
            if (fillOrFail() == Step::Bad) {
                return Step::Bad;
            }
            continue;
        }
        m_begin = next;
        ++m_line;
        ++m_blankLines;
    }
}

/// Steps over the line end at the position; More when a LF may follow its CR in the next block.
TableReader::Step TableReader::skipLineEnd(const char*& position) const
{
    if (*position == '\r') {
        if (position + 1 == m_end && !m_atEnd) {
            return Step::More;
        }
        position += position + 1 != m_end && position[1] == '\n' ? 2 : 1;
        return Step::Done;
    }
    ++position;
    return Step::Done;
}

TableReader::Step TableReader::scanCell(const char* begin, Cell& cell)
{
    const char* position = begin;
    while (position != m_end && *position == ' ') {
        ++position;
    }
    if (position != m_end && *position == '"') {
        return scanQuoted(position + 1, cell);
    }
    position = begin;
    while (position != m_end && *position != m_format.delimiter && !isLineEnd(*position)) {
        if (*position == '\0') {
            return fail(0, QStringLiteral("expected text, found a NUL byte"));
        }
        ++position;
    }
    if (position == m_end && !m_atEnd) {
        return Step::More;
    }
    cell.text = std::string_view(begin, static_cast<std::size_t>(position - begin));
    return endCell(position, cell);
}

/// Reads a cell from behind its opening quote.
TableReader::Step TableReader::scanQuoted(const char* begin, Cell& cell)
{
    m_scratch.clear();
    const char* position = begin;
    for (;;) {
        if (position == m_end) {
            return m_atEnd ? fail(0, QStringLiteral("expected a closing quote, found the end of the file"))
                           : Step::More;
        }
        const char c = *position++;
        if (c == '\0') {
            return fail(0, QStringLiteral("expected text, found a NUL byte"));
        }
        if (c == '"') {
            if (position == m_end && !m_atEnd) {
                return Step::More;
            }
            if (position == m_end || *position != '"') {
                break;
            }
            ++position;
        }
        const bool firstOfCrLf = c == '\r' && position != m_end && *position == '\n';
        cell.lineEnds += static_cast<qint64>(isLineEnd(c) && !firstOfCrLf);
        m_scratch += c;
    }
    while (position != m_end && *position == ' ') {
        ++position;
    }
    if (position == m_end && !m_atEnd) {
        return Step::More;
    }
    if (position != m_end && *position != m_format.delimiter && !isLineEnd(*position)) {
        return fail(0, QStringLiteral("expected the end of the cell after its closing quote"));
    }
    cell.text = m_scratch;
    return endCell(position, cell);
}

/// Steps over what ends a cell: a delimiter, a line end or the end of the table.
TableReader::Step TableReader::endCell(const char* position, Cell& cell)
{
    cell.endsRow = position == m_end || *position != m_format.delimiter;
    cell.next = position;
    if (position == m_end) {
        return Step::Done;
    }
    if (cell.endsRow) {
        return skipLineEnd(cell.next);
    }
    ++cell.next;
    return Step::Done;
}

/// Splits the row at m_begin into texts, without moving on.
TableReader::Step TableReader::splitRow(std::vector<std::string>& cells, const char*& next, qint64& lineEnds)
{
    cells.clear();
    next = m_begin;
    lineEnds = 0;
    for (;;) {
        Cell cell;
        const Step step = scanCell(next, cell);
        if (step != Step::Done) {
            m_error.column = step == Step::Bad ? static_cast<qint64>(cells.size() + 1) : 0;
            return step;
        }
        cells.emplace_back(cell.text);
        next = cell.next;
        lineEnds += cell.lineEnds;
        if (cell.endsRow) {
            return Step::Done;
        }
    }
}

/// Reads a number that begins at `begin`; null when none does or when it ends with the buffer.
const char* TableReader::parseBareNumber(const char* begin, double& value) const
{
    const char* stop = parsePlainNumber(begin, value);
    if (stop == nullptr) {
        const auto result = std::from_chars(begin, m_end, value);
        stop = result.ec == std::errc{} ? result.ptr : nullptr;
    }
    return stop == m_end ? nullptr : stop;
}

TableReader::Step TableReader::parseRow(double* values)
{
    const char* position = m_begin;
    qint64 lineEnds = 0;
    const bool plain = m_format.decimal == '.';
    const char delimiter = m_format.delimiter;
    for (int column = 0;; ++column) {
        if (column == m_columns) {
            return failCount();
        }
        if (plain) {
            // The usual cell: a bare number up to the delimiter or line end. Everything else goes the
            // long way, from the start of the cell.
            const char* stop = parseBareNumber(position, values[column]);
            if (stop != nullptr && *stop == delimiter) {
                position = stop + 1;
                continue;
            }
            if (stop != nullptr && column + 1 == m_columns && stop + 1 < m_end && isLineEnd(*stop)) {
                position = stop + (*stop == '\r' && stop[1] == '\n' ? 2 : 1);
                break;
            }
        }
        bool endsRow = false;
        const Step step = parseSlowCell(position, values[column], endsRow, lineEnds);
        if (step == Step::Bad) {
            if (m_error.column == 0) {
                m_error.column = column + 1;
            }
            return step;
        }
        if (step == Step::More) {
            return step;
        }
        if (endsRow) {
            if (column + 1 != m_columns) {
                return failCount();
            }
            break;
        }
    }
    m_begin = position;
    m_line += lineEnds + 1;
    return Step::Done;
}

TableReader::Step TableReader::parseSlowCell(const char*& position, double& value, bool& endsRow,
                                             qint64& lineEnds)
{
    Cell cell;
    const Step step = scanCell(position, cell);
    if (step != Step::Done) {
        return step;
    }
    if (m_format.decimal == 0 && cell.text.find_first_of(".,") != std::string_view::npos) {
        m_format.decimal = cell.text.find('.') != std::string_view::npos ? '.' : ',';
    }
    const char decimal = m_format.decimal == 0 ? '.' : m_format.decimal;
    if (parseCell(cell.text, decimal, value) == CellKind::NoNumber) {
        return failNumber(cell.text);
    }
    position = cell.next;
    endsRow = cell.endsRow;
    lineEnds += cell.lineEnds;
    return Step::Done;
}

TableReader::Step TableReader::fail(qint64 column, const QString& text)
{
    m_error.line = m_line;
    m_error.column = column;
    m_error.text = text;
    return Step::Bad;
}

/// The row at m_begin has another number of cells than the table.
TableReader::Step TableReader::failCount()
{
    std::vector<std::string> cells;
    const char* next = nullptr;
    qint64 lineEnds = 0;
    const Step step = splitRow(cells, next, lineEnds);
    if (step != Step::Done) {
        return step;
    }
    const auto found = static_cast<qint64>(cells.size());
    return fail(std::min<qint64>(found, m_columns) + 1,
                QStringLiteral("expected %1 cells as in the first row, found %2").arg(m_columns).arg(found));
}

/// A cell of the row at m_begin is no number.
TableReader::Step TableReader::failNumber(std::string_view text)
{
    const QString found = quotedForMessage(text);
    if (!m_headings.empty()) {
        std::vector<std::string> cells;
        const char* next = nullptr;
        qint64 lineEnds = 0;
        const Step step = splitRow(cells, next, lineEnds);
        if (step == Step::More) {
            return step;
        }
        if (step == Step::Done && cells == m_headings) {
            return fail(1, QStringLiteral("expected numbers, found the heading line again"));
        }
    }
    return fail(0, QStringLiteral("expected a number, found ") + found);
}

} // namespace vx::cli
