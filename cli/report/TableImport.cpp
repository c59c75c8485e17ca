#include "report/TableImport.h"

#include "console/Console.h"
#include "report/CacheWatch.h"
#include "report/ColumnFiller.h"
#include "table/TableReader.h"

#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QFile>
#include <QtCore/QSet>

#include <algorithm>
#include <utility>

namespace vx::cli {
namespace {

using datastorage::CacheManager;
using datastorage::ConfigDataArray;
using datastorage::Converter;
using datastorage::DataArrayInfoStreamed;
using datastorage::UsualUnit;

/// Rows that are parsed before they become samples; small enough for the cache of the processor.
constexpr std::size_t BLOCK_ROWS = 1024;
constexpr qint64 SAMPLE_BYTES = 4;

QString quoted(const QString& text)
{
    return QLatin1Char('"') + text + QLatin1Char('"');
}

/// Names of one table must differ, and so must the names of their cache files.
QString uniqueName(const QString& name, QSet<QString>& taken)
{
    const QString base = name.isEmpty() ? QStringLiteral("Column") : name;
    QString unique = base;
    for (int number = 2; taken.contains(CacheManager::transformCachePathToFileName(unique)); ++number) {
        unique = QStringLiteral("%1 (%2)").arg(base).arg(number);
    }
    taken.insert(CacheManager::transformCachePathToFileName(unique));
    return unique;
}

QString unmatchedWarning(const Heading& heading)
{
    const QString kept = QStringLiteral("; kept as a dimensionless array");
    if (heading.hasUnit && heading.unit.isUnknown()) {
        return QStringLiteral("%1: the unit %2 is not known")
                   .arg(quoted(heading.text), quoted(heading.unitText)) +
               kept;
    }
    return QStringLiteral("%1 matches no declared array").arg(quoted(heading.text)) + kept;
}

} // namespace

TableImport::TableImport(const ArrayMatcher& matcher, QStringList columnNames, CacheWatch& watch,
                         Console& console)
    : m_matcher(matcher), m_columnNames(std::move(columnNames)), m_watch(watch), m_console(console)
{}

bool TableImport::import(MeasuredTable& table, InputError& error)
{
    m_floatColumns.clear();
    for (;;) {
        const Outcome outcome = importOnce(table, error);
        m_console.clearProgress();
        if (outcome == Outcome::Imported) {
            return true;
        }
        drop(table);
        if (outcome == Outcome::Failed) {
            error.file = table.path;
            return false;
        }
    }
}

TableImport::Outcome TableImport::importOnce(MeasuredTable& table, InputError& error)
{
    QFile file(table.path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        error.text = QStringLiteral("cannot be read: ") + file.errorString();
        return Outcome::Failed;
    }
    TableReader reader(file);
    if (!reader.open(error) || !readHeadings(reader, table, error)) {
        return Outcome::Failed;
    }
    m_written = false;
    return fill(reader, file.size(), table, error);
}

bool TableImport::readHeadings(TableReader& reader, MeasuredTable& table, InputError& error)
{
    if (reader.hasHeadings()) {
        makeColumns(reader.readHeadings(), table);
        return true;
    }
    if (m_columnNames.isEmpty()) {
        error.line = reader.line();
        error.column = 1;
        error.text =
            QStringLiteral("expected a heading line, found numbers; name the columns with --columns");
        return false;
    }
    if (m_columnNames.size() != reader.firstRowSize()) {
        error.line = reader.line();
        error.column = std::min<qint64>(m_columnNames.size(), reader.firstRowSize()) + 1;
        error.text = QStringLiteral("expected %1 cells as --columns names them, found %2")
                         .arg(m_columnNames.size())
                         .arg(reader.firstRowSize());
        return false;
    }
    reader.setColumnCount(reader.firstRowSize());
    makeColumns(m_columnNames, table);
    return true;
}

void TableImport::makeColumns(const QStringList& headings, MeasuredTable& table)
{
    m_toMain.clear();
    QSet<QString> taken;
    for (const QString& text : headings) {
        MeasuredColumn column = makeColumn(text, table.warnings);
        const QString name = column.array->getName();
        column.array->setName(uniqueName(name, taken));
        if (column.array->getName() != name && !name.isEmpty()) {
            table.warnings.append(
                QStringLiteral("%1 is the name of more than one column; the array is called %2")
                    .arg(quoted(name), quoted(column.array->getName())));
        }
        table.columns.push_back(std::move(column));
    }
}

/// Matches the heading and describes the array, still without samples.
MeasuredColumn TableImport::makeColumn(const QString& text, QStringList& warnings)
{
    Heading heading = readHeading(text);
    const ConfigDataArray* declared = m_matcher.match(heading);
    datastorage::PhysicalParameter parameter = datastorage::ParameterRatio;
    datastorage::DataType type = datastorage::Float;
    UsualUnit unit = heading.unit;
    MeasuredColumn column;
    column.heading = text;
    if (declared != nullptr) {
        parameter = declared->getPhysicalParameter();
        type = declared->getType() == datastorage::Float ? datastorage::Float : datastorage::Int;
        column.declaredName = declared->getName();
        if (!heading.hasUnit) {
            unit = declared->getUnit();
        }
    } else {
        warnings.append(unmatchedWarning(heading));
    }
    if (!isUnitOf(unit, parameter)) {
        unit = Converter::getMainUnit(parameter);
    }
    column.displayUnit = unit;
    const double toMain = unitFactors(parameter, unit).toMain;
    m_toMain.push_back(toMain);
    if (m_floatColumns.contains(m_toMain.size() - 1)) {
        warnings.append(quoted(text) +
                        QStringLiteral(": not every value is a whole number of 32 bits; kept as FLOAT"));
        type = datastorage::Float;
    }
    if (toMain != 1.0) {
        type = datastorage::Float;
    }
    column.array = std::make_unique<DataArrayInfoStreamed>(heading.name, parameter, type,
                                                           Converter::getMainUnit(parameter));
    return column;
}

TableImport::Outcome TableImport::fill(TableReader& reader, qint64 fileSize, MeasuredTable& table,
                                       InputError& error)
{
    std::vector<ColumnFiller> fillers;
    for (std::size_t i = 0; i < table.columns.size(); ++i) {
        DataArrayInfoStreamed& array = *table.columns[i].array;
        array.createDataArray();
        array.startAddingData();
        fillers.emplace_back(array, m_toMain[i]);
    }
    const std::size_t stride = table.columns.size();
    std::vector<double> block(BLOCK_ROWS * stride);
    const qint64 limit = fillLimit();
    qint64 filledBytes = 0;
    for (;;) {
        const qint64 rows = reader.readRows(block, error);
        if (rows < 0) {
            if (error.column > 0 && error.column <= static_cast<qint64>(stride)) {
                error.text +=
                    QStringLiteral(" in column %1")
                        .arg(quoted(table.columns[static_cast<std::size_t>(error.column) - 1].heading));
            }
            return Outcome::Failed;
        }
        if (rows == 0) {
            break;
        }
        if (!addRows(std::span(block).first(static_cast<std::size_t>(rows) * stride), fillers)) {
            return Outcome::Restart;
        }
        table.rows += rows;
        filledBytes += rows * static_cast<qint64>(stride) * SAMPLE_BYTES;
        if (filledBytes >= limit) {
            if (!writeOut(table, true, error)) {
                return Outcome::Failed;
            }
            filledBytes = 0;
        }
        if (fileSize > 0) {
            m_console.showProgress(table.path,
                                   static_cast<double>(reader.bytesRead()) / static_cast<double>(fileSize));
        }
    }
    for (std::size_t i = 0; i < stride; ++i) {
        const QString lost = fillers[i].precisionWarning(unitText(table.columns[i].displayUnit));
        if (!lost.isEmpty()) {
            table.warnings.append(quoted(table.columns[i].heading) + QStringLiteral(": ") + lost);
        }
    }
    return writeOut(table, false, error) ? Outcome::Imported : Outcome::Failed;
}

bool TableImport::addRows(std::span<const double> values, std::vector<ColumnFiller>& fillers)
{
    const std::size_t stride = fillers.size();
    for (std::size_t column = 0; column < stride; ++column) {
        if (!fillers[column].add(values, column, stride)) {
            m_floatColumns.insert(column);
            return false;
        }
    }
    return true;
}

/// Hands the samples added so far to the cache; with `goOn` more will follow.
bool TableImport::writeOut(MeasuredTable& table, bool goOn, InputError& error)
{
    CacheManager& cache = CacheManager::instance();
    for (MeasuredColumn& column : table.columns) {
        if (m_written) {
            cache.appendDataArray(column.array.get(), table.key);
        } else {
            column.array->endAddingData(table.key);
        }
        if (!m_watch.await(*column.array)) {
            error.text = QStringLiteral("array %1 cannot be kept in the cache: ")
                             .arg(quoted(column.array->getName())) +
                         m_watch.takeError();
            return false;
        }
        if (goOn) {
            cache.prepareAppendDataArray(column.array.get());
        }
    }
    m_written = true;
    return true;
}

/// Bytes of samples that may be in memory before they are written out.
qint64 TableImport::fillLimit()
{
    const CacheFigures figures = CacheWatch::figures();
    return std::max(FILL_BYTES, figures.budget - figures.held);
}

void TableImport::drop(MeasuredTable& table)
{
    table.columns.clear();
    table.warnings.clear();
    table.rows = 0;
}

} // namespace vx::cli
