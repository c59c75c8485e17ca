#include "console/TextTable.h"

#include "console/Console.h"

#include <algorithm>
#include <utility>

namespace vx::cli {

TextTable::TextTable(QStringList headings, QList<Alignment> alignments)
    : m_headings(std::move(headings)), m_alignments(std::move(alignments))
{}

void TextTable::addRow(const QStringList& cells)
{
    m_rows.append(cells);
}

QString TextTable::text(const Console& console) const
{
    QList<qsizetype> widths;
    for (qsizetype column = 0; column < m_headings.size(); ++column) {
        qsizetype width = m_headings.at(column).size();
        for (const QStringList& row : m_rows) {
            width = std::max(width, row.value(column).size());
        }
        widths.append(width);
    }
    QString result = console.bold(line(m_headings, widths)) + QLatin1Char('\n');
    for (const QStringList& row : m_rows) {
        result += line(row, widths) + QLatin1Char('\n');
    }
    return result;
}

QString TextTable::line(const QStringList& cells, const QList<qsizetype>& widths) const
{
    QString result;
    for (qsizetype column = 0; column < widths.size(); ++column) {
        const QString cell = cells.value(column);
        const bool left = m_alignments.value(column) == Left;
        result += QStringLiteral("  ");
        result += left ? cell.leftJustified(widths.at(column)) : cell.rightJustified(widths.at(column));
    }
    while (result.endsWith(QLatin1Char(' '))) {
        result.chop(1);
    }
    return result;
}

} // namespace vx::cli
