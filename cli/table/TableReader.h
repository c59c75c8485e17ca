#pragma once

#include "InputError.h"
#include "table/TableFormat.h"

#include <QtCore/QStringList>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class QIODevice;

namespace vx::cli {

/// Reads a table of numbers row by row through one fixed buffer, whatever the size of the table.
///
/// Rows end with CR, LF or CRLF; cells are divided by tab, semicolon or comma, may stand in quotes (a
/// doubled quote inside is one quote) and are then allowed to hold delimiters and line ends. A UTF-8 byte
/// order mark is skipped. Empty lines before the first row and after the last one do not count; inside a
/// table of one column they are missing values.
///
/// Order of calls: open(), hasHeadings(), then readHeadings() or setColumnCount(), then readRows() until
/// it returns 0. After the first error the reader is used up.
class TableReader
{
public:
    /// Bytes of the buffer; no row may be longer.
    static constexpr std::size_t BUFFER_SIZE = std::size_t{512} * 1024;

    /// Reads from an open device, which the caller keeps alive.
    explicit TableReader(QIODevice& device);

    /// Reads the first block and finds out how the table is written. False for a table that is empty or
    /// no UTF-8 text; `error` is then set, apart from its file.
    bool open(InputError& error);

    /// Whether the first row holds a text that is no number.
    bool hasHeadings() const { return m_hasHeadings; }

    /// Cells of the first row, which may be a row of numbers.
    int firstRowSize() const { return static_cast<int>(m_firstRow.size()); }

    /// Takes the first row as headings and moves on to the next one; the table has as many columns.
    QStringList readHeadings();

    /// Number of cells that every row must have, for a table without headings.
    void setColumnCount(int columns) { m_columns = columns; }

    /// Reads as many whole rows as fit into `values`, row after row; a missing value becomes NaN.
    /// Returns the number of rows, 0 at the end of the table, -1 for a bad row, which `error` then describes
    /// apart from its file.
    qint64 readRows(std::span<double> values, InputError& error);

    const TableFormat& format() const { return m_format; }

    /// Bytes taken from the device so far.
    qint64 bytesRead() const { return m_bytesRead; }

    /// Line, from 1, of the row that comes next.
    qint64 line() const { return m_line; }

private:
    enum class Step
    {
        Done, ///< the cell or row is complete
        More, ///< the buffer ends inside it
        Bad   ///< m_error says why
    };

    /// One cell as it stands in the buffer.
    struct Cell
    {
        std::string_view text;      ///< without quotes; in m_scratch when it was quoted
        const char* next = nullptr; ///< behind the delimiter or line end
        bool endsRow = false;
        qint64 lineEnds = 0; ///< inside its quotes
    };

    bool fill();
    Step fillOrFail();
    Step skipBlankLines();
    Step skipLineEnd(const char*& position) const;
    Step scanCell(const char* begin, Cell& cell);
    Step scanQuoted(const char* begin, Cell& cell);
    Step endCell(const char* position, Cell& cell);
    Step splitRow(std::vector<std::string>& cells, const char*& next, qint64& lineEnds);
    Step parseRow(double* values);
    const char* parseBareNumber(const char* begin, double& value) const;
    Step parseSlowCell(const char*& position, double& value, bool& endsRow, qint64& lineEnds);
    Step parseNext(double* values);
    Step readFirstRow();
    bool checkFirstRow(InputError& error);
    Step fail(qint64 column, const QString& text);
    Step failCount();
    Step failNumber(std::string_view text);

    QIODevice& m_device;
    TableFormat m_format;
    std::vector<char> m_buffer;
    const char* m_begin = nullptr; ///< of the row that comes next
    const char* m_end = nullptr;   ///< of the bytes in the buffer
    bool m_atEnd = false;          ///< the device has no more bytes
    bool m_hasHeadings = false;
    int m_columns = 0;
    qint64 m_line = 1;
    qint64 m_bytesRead = 0;
    qint64 m_blankLines = 0;  ///< skipped since the last row
    qint64 m_missingRows = 0; ///< empty lines of a one-column table still to be handed out
    std::string m_scratch;
    std::vector<std::string> m_firstRow;
    std::vector<std::string> m_headings; ///< empty when the table has none
    InputError m_error;
};

} // namespace vx::cli
