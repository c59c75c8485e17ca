#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <QtCore/QString>

#include <cstddef>
#include <span>
#include <vector>

namespace vx::cli {

/// Turns the values of one column into samples and adds them to its array.
class ColumnFiller
{
public:
    /// @param array   open for additions; stays the caller's
    /// @param toMain  factor from the values to the main unit of the array's parameter
    ColumnFiller(datastorage::DataArrayInfoStreamed& array, double toMain);

    /// Adds every `stride`-th of the values from `column` on. Returns false when the array holds whole
    /// numbers and a value is none that it can hold; nothing is added then.
    bool add(std::span<const double> values, std::size_t column, std::size_t stride);

    /// A sentence about what the samples lost by their 32 bits, in the unit of the values; empty when that
    /// does not matter.
    ///
    /// It matters when the rounding reaches a tenth of the mean step from one value to the next different
    /// one, so that neighbouring values become hard to tell apart: a Unix time in ms. A value of which
    /// there is only one matters when it is a whole number that comes out as another one.
    QString precisionWarning(const QString& unit) const;

private:
    bool addFloats(std::span<const double> values, std::size_t column, std::size_t stride);
    bool addInts(std::span<const double> values, std::size_t column, std::size_t stride);

    datastorage::DataArrayInfoStreamed& m_array;
    double m_toMain;
    std::vector<float> m_floats;
    std::vector<int> m_ints;
    double m_largestError = 0; ///< of the rounding, in the unit of the values
    double m_largestValue = 0; ///< magnitude
    double m_previous;
    double m_stepSum = 0;
    double m_stepCount = 0;
};

/// Whether an array of whole numbers can hold the value: whole, of 32 bits and not the mark of a missing
/// sample. A missing value, NaN, can be held.
bool fitsInt(double value);

} // namespace vx::cli
