#include "plot/PlotSeries.h"

#include "plot/ArraySource.h"
#include "report/TableInputs.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QFileInfo>

#include <algorithm>
#include <map>

namespace vx::cli {
namespace {

using datastorage::Converter;
using datastorage::PhysicalParameter;
using datastorage::UsualUnit;

constexpr QLatin1String MINUS("-");

/// The columns that are meant: that of this very name, or all that were matched with a declared array of the
/// name.
std::vector<const MeasuredColumn*> columnsNamed(const MeasuredTable& table, const QString& name)
{
    std::vector<const MeasuredColumn*> found;
    for (const MeasuredColumn& column : table.columns) {
        if (QString::compare(column.array->getName(), name, Qt::CaseInsensitive) == 0) {
            return {&column};
        }
        if (isMeant(column, name)) {
            found.push_back(&column);
        }
    }
    return found;
}

QString quotedNames(const MeasuredTable& table)
{
    QStringList names;
    for (const MeasuredColumn& column : table.columns) {
        names.append(QLatin1Char('"') + column.array->getName() + QLatin1Char('"'));
    }
    return names.join(QStringLiteral(", "));
}

/// Builds the series of one table after the other.
class Selection
{
public:
    Selection(const PlotOptions& options, std::vector<PlotSeries>& series, InputError& error)
        : m_options(options), m_series(series), m_error(error)
    {}

    bool addTable(const MeasuredTable& table)
    {
        m_error.file = table.path;
        const std::vector<const MeasuredColumn*> xs = columnsNamed(table, m_options.x);
        if (xs.size() != 1) {
            return fail(table, m_options.x, xs.size());
        }
        const std::vector<const MeasuredColumn*> frequencies =
            columnsNamed(table, QStringLiteral("Frequency"));
        PlotSeries series;
        series.file = table.path;
        series.x = quantityOf(*xs.front());
        series.xSource = sourceOf(*xs.front(), 1.0);
        if (m_options.isNyquist && frequencies.size() == 1) {
            series.frequency = std::make_shared<ArraySource>(*frequencies.front()->array, 1.0);
        }
        for (const QString& name : namesOfY(table)) {
            const std::vector<const MeasuredColumn*> ys = columnsNamed(table, name);
            if (ys.empty()) {
                return fail(table, name, 0);
            }
            for (const MeasuredColumn* column : ys) {
                addSeries(series, *column);
            }
        }
        return true;
    }

private:
    QStringList namesOfY(const MeasuredTable& table) const
    {
        if (!m_options.y.isEmpty()) {
            return m_options.y;
        }
        const QString turned = QStringLiteral("-Im(Z)");
        return {columnsNamed(table, turned).empty() ? QStringLiteral("Im(Z)") : turned};
    }

    void addSeries(PlotSeries series, const MeasuredColumn& column)
    {
        const bool isTurned = m_options.isNyquist && !column.array->getName().startsWith(MINUS);
        series.y = quantityOf(column);
        series.ySource = sourceOf(column, isTurned ? -1.0 : 1.0);
        if (isTurned) {
            series.y.name.prepend(MINUS);
        }
        m_series.push_back(series);
    }

    /// The unit of the first array of a parameter holds for all of that parameter.
    const UsualUnit& unitOf(const MeasuredColumn& column)
    {
        return m_units.try_emplace(column.array->getPhysicalParameter(), column.displayUnit).first->second;
    }

    PlotQuantity quantityOf(const MeasuredColumn& column)
    {
        const PhysicalParameter parameter = column.array->getPhysicalParameter();
        return {parameter, Converter::castPhysicalParameterAsString(parameter), column.array->getName(),
                unitText(unitOf(column))};
    }

    std::shared_ptr<const SampleSource> sourceOf(const MeasuredColumn& column, double sign)
    {
        const UnitFactors factors = unitFactors(column.array->getPhysicalParameter(), unitOf(column));
        return std::make_shared<ArraySource>(*column.array, sign * factors.fromMain);
    }

    bool fail(const MeasuredTable& table, const QString& name, std::size_t found)
    {
        m_error.text = found == 0 ? QStringLiteral("no array is called \"%1\"; there are %2")
                                  : QStringLiteral("several arrays are called \"%1\"; there are %2");
        m_error.text = m_error.text.arg(name, quotedNames(table));
        return false;
    }

    const PlotOptions& m_options;
    std::vector<PlotSeries>& m_series;
    InputError& m_error;
    std::map<PhysicalParameter, UsualUnit> m_units;
};

/// Names that tell the files apart: without their directories, unless two are called the same.
void shortenFiles(const std::vector<MeasuredTable>& tables, std::vector<PlotSeries>& series)
{
    QStringList names;
    for (const MeasuredTable& table : tables) {
        names.append(QFileInfo(table.path).fileName());
    }
    if (names.removeDuplicates() > 0) {
        return;
    }
    for (PlotSeries& one : series) {
        one.file = QFileInfo(one.file).fileName();
    }
}

} // namespace

bool selectSeries(const std::vector<MeasuredTable>& tables, const PlotOptions& options,
                  std::vector<PlotSeries>& series, InputError& error)
{
    Selection selection(options, series, error);
    const bool found = std::all_of(tables.begin(), tables.end(), [&selection](const MeasuredTable& table) {
        return selection.addTable(table);
    });
    shortenFiles(tables, series);
    return found;
}

} // namespace vx::cli
