#include "report/ColumnFiller.h"

#include "console/NumberText.h"
#include "report/Samples.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vx::cli {
namespace {

constexpr double WARNING_STEP_PART = 0.1;

} // namespace

ColumnFiller::ColumnFiller(datastorage::DataArrayInfoStreamed& array, double toMain)
    : m_array(array), m_toMain(toMain), m_previous(std::numeric_limits<double>::quiet_NaN())
{}

bool ColumnFiller::add(std::span<const double> values, std::size_t column, std::size_t stride)
{
    return m_array.getDataType() == datastorage::Float ? addFloats(values, column, stride)
                                                       : addInts(values, column, stride);
}

bool ColumnFiller::addFloats(std::span<const double> values, std::size_t column, std::size_t stride)
{
    m_floats.resize(values.size() / stride);
    float* next = m_floats.data();
    const double fromMain = 1.0 / m_toMain;
    double largestError = m_largestError;
    double largestValue = m_largestValue;
    double previous = m_previous;
    double stepSum = m_stepSum;
    double stepCount = m_stepCount;
    for (std::size_t i = column; i < values.size(); i += stride) {
        const double value = values[i];
        const double inMainUnit = value * m_toMain;
        const auto sample = static_cast<float>(inMainUnit);
        *next++ = sample;
        // A comparison with NaN is false, so missing values leave all of this alone.
        const double error = std::abs(inMainUnit - static_cast<double>(sample)) * fromMain;
        largestError = error > largestError ? error : largestError;
        const double magnitude = std::abs(value);
        largestValue = magnitude > largestValue ? magnitude : largestValue;
        const double step = std::abs(value - previous);
        stepSum += step > 0 ? step : 0.0;
        stepCount += step > 0 ? 1.0 : 0.0;
        previous = value;
    }
    m_previous = previous;
    m_stepSum = stepSum;
    m_stepCount = stepCount;
    m_largestError = largestError;
    m_largestValue = largestValue;
    m_array.addSamples(std::span<const float>(m_floats));
    return true;
}

bool ColumnFiller::addInts(std::span<const double> values, std::size_t column, std::size_t stride)
{
    m_ints.clear();
    for (std::size_t i = column; i < values.size(); i += stride) {
        if (!fitsInt(values[i])) {
            return false;
        }
        m_ints.push_back(std::isnan(values[i]) ? MISSING_INT : static_cast<int>(values[i]));
    }
    m_array.addSamples(std::span<const int>(m_ints));
    return true;
}

QString ColumnFiller::precisionWarning(const QString& unit) const
{
    if (std::isinf(m_largestError)) {
        return QStringLiteral("values beyond the range of a 32-bit float are kept as infinite");
    }
    if (m_largestError == 0) {
        return {};
    }
    const auto withUnit = [&unit](double value) {
        constexpr int DIGITS = 4;
        const QString number = QString::number(value, 'g', DIGITS);
        return unit.isEmpty() || unit == QLatin1String("-") ? number : number + QLatin1Char(' ') + unit;
    };
    const QString rounding = QStringLiteral("a 32-bit float rounds values of up to %1 by up to %2")
                                 .arg(withUnit(m_largestValue), withUnit(m_largestError));
    if (m_stepCount == 0) {
        const bool otherWholeNumber = m_largestValue == std::floor(m_largestValue) && m_largestError >= 0.5;
        return otherWholeNumber ? rounding : QString();
    }
    const double meanStep = m_stepSum / m_stepCount;
    if (m_largestError < WARNING_STEP_PART * meanStep) {
        return {};
    }
    return rounding + QStringLiteral(", the mean step between values is %1").arg(withUnit(meanStep));
}

bool fitsInt(double value)
{
    return std::isnan(value) ||
           (value == std::trunc(value) && value >= std::numeric_limits<int>::min() &&
            value <= std::numeric_limits<int>::max() && value != static_cast<double>(MISSING_INT));
}

} // namespace vx::cli
