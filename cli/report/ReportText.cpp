#include "report/ReportText.h"

#include "console/Console.h"
#include "console/NumberText.h"
#include "console/TextTable.h"
#include "report/CacheOptions.h"

#include <datastorage/arrays/DataType.h>
#include <datastorage/units/Converter.h>

#include <QtCore/QJsonArray>

#include <cmath>

namespace vx::cli {
namespace {

/// Shows the values of one array in its display unit.
class ArrayView
{
public:
    explicit ArrayView(const MeasuredColumn& column)
        : m_column(column),
          m_fromMain(unitFactors(column.array->getPhysicalParameter(), column.displayUnit).fromMain)
    {}

    QString name() const { return m_column.array->getName(); }
    QString unit() const { return unitText(m_column.displayUnit); }
    QString type() const { return datastorage::getDataTypeAsString(m_column.array->getDataType()); }
    QString parameter() const
    {
        return datastorage::Converter::castPhysicalParameterAsString(m_column.array->getPhysicalParameter());
    }

    /// A sample: whole numbers stay whole, others have the precision of a float.
    double sample(double value) const
    {
        const double shown = value * m_fromMain;
        const bool isWhole = m_column.array->getDataType() != datastorage::Float && m_fromMain == 1.0;
        return isWhole ? shown : shortestDouble(static_cast<float>(shown));
    }

    /// A value computed from many samples, in double precision.
    double computed(double value) const { return value * m_fromMain; }

    QString sampleText(double value) const
    {
        if (std::isnan(value)) {
            return QStringLiteral("-");
        }
        const bool isWhole = m_column.array->getDataType() != datastorage::Float && m_fromMain == 1.0;
        return isWhole ? QString::number(static_cast<qint64>(value))
                       : numberText(static_cast<float>(value * m_fromMain));
    }

    QString computedText(double value) const
    {
        return std::isnan(value) ? QStringLiteral("-") : numberText(static_cast<float>(value * m_fromMain));
    }

private:
    const MeasuredColumn& m_column;
    double m_fromMain;
};

QJsonValue jsonNumber(double value)
{
    return std::isfinite(value) ? QJsonValue(value) : QJsonValue(QJsonValue::Null);
}

QJsonObject arrayJson(const MeasuredColumn& column, const ArrayStatistics& statistics)
{
    const ArrayView view(column);
    QJsonObject object;
    object.insert(QStringLiteral("name"), view.name());
    object.insert(QStringLiteral("parameter"), view.parameter());
    object.insert(QStringLiteral("unit"), view.unit());
    object.insert(QStringLiteral("type"), view.type());
    object.insert(QStringLiteral("samples"), statistics.samples);
    object.insert(QStringLiteral("missing"), statistics.missing);
    object.insert(QStringLiteral("minimum"), jsonNumber(view.sample(statistics.minimum)));
    object.insert(QStringLiteral("maximum"), jsonNumber(view.sample(statistics.maximum)));
    object.insert(QStringLiteral("mean"), jsonNumber(view.computed(statistics.mean)));
    object.insert(QStringLiteral("first"), jsonNumber(view.sample(statistics.first)));
    object.insert(QStringLiteral("last"), jsonNumber(view.sample(statistics.last)));
    return object;
}

QString tableText(const ReportedTable& reported, const Console& console)
{
    constexpr auto L = TextTable::Left;
    constexpr auto R = TextTable::Right;
    TextTable text({QStringLiteral("name"), QStringLiteral("parameter"), QStringLiteral("unit"),
                    QStringLiteral("type"), QStringLiteral("samples"), QStringLiteral("missing"),
                    QStringLiteral("minimum"), QStringLiteral("maximum"), QStringLiteral("mean"),
                    QStringLiteral("first"), QStringLiteral("last")},
                   {L, L, L, L, R, R, R, R, R, R, R});
    for (std::size_t i = 0; i < reported.statistics.size(); ++i) {
        const ArrayView view(reported.table->columns[i]);
        const ArrayStatistics& statistics = reported.statistics[i];
        text.addRow({view.name(), view.parameter(), view.unit(), view.type(),
                     QString::number(statistics.samples), QString::number(statistics.missing),
                     view.sampleText(statistics.minimum), view.sampleText(statistics.maximum),
                     view.computedText(statistics.mean), view.sampleText(statistics.first),
                     view.sampleText(statistics.last)});
    }
    QString result = QStringLiteral("%1: %2 rows, %3 arrays\n\n")
                         .arg(console.bold(reported.table->path))
                         .arg(reported.table->rows)
                         .arg(reported.statistics.size());
    result += text.text(console);
    for (const QString& warning : reported.table->warnings) {
        result += console.warning(QStringLiteral("  warning: ") + warning) + QLatin1Char('\n');
    }
    return result + QLatin1Char('\n');
}

} // namespace

QJsonObject reportJson(const std::vector<ReportedTable>& tables, const CacheFigures& cache)
{
    QJsonArray files;
    for (const ReportedTable& reported : tables) {
        QJsonArray arrays;
        for (std::size_t i = 0; i < reported.statistics.size(); ++i) {
            arrays.append(arrayJson(reported.table->columns[i], reported.statistics[i]));
        }
        QJsonObject file;
        file.insert(QStringLiteral("path"), reported.table->path);
        file.insert(QStringLiteral("rows"), reported.table->rows);
        file.insert(QStringLiteral("warnings"), QJsonArray::fromStringList(reported.table->warnings));
        file.insert(QStringLiteral("arrays"), arrays);
        files.append(file);
    }
    QJsonObject figures;
    figures.insert(QStringLiteral("budget"), cache.budget);
    figures.insert(QStringLiteral("held"), cache.held);
    figures.insert(QStringLiteral("files"), cache.files);
    figures.insert(QStringLiteral("reloads"), cache.reloads);
    figures.insert(QStringLiteral("evictions"), cache.evictions);
    return {{QStringLiteral("files"), files}, {QStringLiteral("cache"), figures}};
}

QString reportText(const std::vector<ReportedTable>& tables, const CacheFigures& cache, double seconds,
                   const Console& console)
{
    QString text;
    for (const ReportedTable& reported : tables) {
        text += tableText(reported, console);
    }
    text += QStringLiteral(
                "held in memory %1 of a budget of %2, %3 cache files, %4 reloads, %5 evictions, %6 s\n")
                .arg(byteCountText(cache.held), byteCountText(cache.budget))
                .arg(cache.files)
                .arg(cache.reloads)
                .arg(cache.evictions)
                .arg(QString::number(seconds, 'f', 2));
    return text;
}

} // namespace vx::cli
