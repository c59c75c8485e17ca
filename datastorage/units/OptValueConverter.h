#pragma once

#include <datastorage/Export.h>
#include <datastorage/units/OptionalValue.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <QtCore/QString>

namespace vx::datastorage {

/// Optional values as display text and back. Numbers are written in the C locale, with a decimal point,
/// whatever the user's locale is.
///
/// Threads: any.
class VXDATASTORAGE_EXPORT OptValueConverter
{
public:
    /// The text of an absent value, in both directions: "N/A". Filled while the library loads.
    static const QString notAvailable;

    /// Significant digits of a displayed number.
    static constexpr short numberPrecision = 5;

    /// Absent for "N/A", exactly so written, and for the empty text; otherwise present with the number that
    /// `text` holds, 0 when it is no number.
    static OptionalValue<double> convertStringValueInOptDouble(const QString& text);

    /// `value`, in the main unit of `parameter`, in `unit`, at the precision of float. A copy of `value` when
    /// it is absent or when `parameter` or `unit` is "None".
    static OptionalValue<double> convertValueToDisplayUnit(const PhysicalParameter& parameter,
                                                           const UsualUnit& unit,
                                                           const OptionalValue<double>& value);

    /// The number with numberPrecision digits, "N/A" when it is absent.
    static QString getValueFromOptDouble(const OptionalValue<double>& value);

    /// As getValueFromOptDouble(), followed by a space and the printed unit, as in "2.5 mA.h/g"; by nothing
    /// when the value is absent or `unit` is "None".
    static QString getValueAndUnitFromOptDouble(const OptionalValue<double>& value, const UsualUnit& unit);

    /// The text, "N/A" when it is absent.
    static QString getValueFromOptQString(const OptionalValue<QString>& value);
};

} // namespace vx::datastorage
