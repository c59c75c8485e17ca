#pragma once

#include "InputError.h"
#include "heading/ArrayMatcher.h"
#include "report/MeasuredTable.h"

#include <QtCore/QStringList>

#include <set>
#include <span>
#include <vector>

namespace vx::cli {

class CacheWatch;
class ColumnFiller;
class Console;
class TableReader;

/// Imports tables: each column becomes a streamed array, filed in the cache under the path of the table.
///
/// A table is read once, in blocks of rows. The arrays that are being filled cannot be evicted, so when they
/// outgrow what is left of the budget, and at least FILL_BYTES, they are written out and go on as appends.
class TableImport
{
public:
    /// Bytes of samples that may always be in memory while a table is read.
    static constexpr qint64 FILL_BYTES = qint64{24} * 1024 * 1024;

    /// @param columnNames  headings for tables that have none; empty when the user gave none
    TableImport(const ArrayMatcher& matcher, QStringList columnNames, CacheWatch& watch, Console& console);

    /// Imports one table. False with `error` set when it is bad or the cache failed; nothing of the
    /// table is left in the cache then.
    /// @param table  its path and key are set by the caller
    bool import(MeasuredTable& table, InputError& error);

private:
    enum class Outcome
    {
        Imported,
        Failed,
        Restart ///< a column turned out to hold other than whole numbers; m_floatColumns names it
    };

    Outcome importOnce(MeasuredTable& table, InputError& error);
    bool readHeadings(TableReader& reader, MeasuredTable& table, InputError& error);
    void makeColumns(const QStringList& headings, MeasuredTable& table);
    MeasuredColumn makeColumn(const QString& text, QStringList& warnings);
    Outcome fill(TableReader& reader, qint64 fileSize, MeasuredTable& table, InputError& error);
    bool addRows(std::span<const double> values, std::vector<ColumnFiller>& fillers);
    bool writeOut(MeasuredTable& table, bool goOn, InputError& error);
    static qint64 fillLimit();
    static void drop(MeasuredTable& table);

    const ArrayMatcher& m_matcher;
    QStringList m_columnNames;
    CacheWatch& m_watch;
    Console& m_console;
    std::set<std::size_t> m_floatColumns; ///< declared whole, but not
    std::vector<double> m_toMain;         ///< per column, from the heading's unit
    bool m_written = false;               ///< the arrays go on as appends
};

} // namespace vx::cli
