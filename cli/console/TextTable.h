#pragma once

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace vx::cli {

class Console;

/// A table of texts in aligned columns.
class TextTable
{
public:
    enum Alignment
    {
        Left,
        Right
    };

    /// One column per heading.
    TextTable(QStringList headings, QList<Alignment> alignments);

    /// Adds a row; cells beyond the last column are dropped.
    void addRow(const QStringList& cells);

    /// The table, each line indented by two blanks; the headings are bold on a terminal.
    QString text(const Console& console) const;

private:
    QString line(const QStringList& cells, const QList<qsizetype>& widths) const;

    QStringList m_headings;
    QList<Alignment> m_alignments;
    QList<QStringList> m_rows;
};

} // namespace vx::cli
