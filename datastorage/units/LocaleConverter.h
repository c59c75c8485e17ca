#pragma once

#include <datastorage/Export.h>

#include <QtCore/QString>

namespace vx::datastorage {

/// Numbers as text and back, as the user writes them: in the default locale of the application at the time
/// of the call (QLocale::setDefault()).
///
/// Threads: any, while no thread changes the default locale.
class VXDATASTORAGE_EXPORT LocaleConverter
{
public:
    /// `value` with `precision` significant digits, in fixed or exponent notation, whichever is shorter;
    /// with the group separators of the locale.
    static QString doubleToString(double value, int precision);

    /// `value` in fixed notation with `precision` digits behind the decimal point.
    static QString doubleToStringFlat(double value, int precision);

    /// `value` with 10 significant digits and no group separators; the decimal point is the locale's.
    static QString doubleToStringForXml(double value);

    /// The decimal point of the locale.
    static QString getDecimalPoint();

    /// The number that `text` holds, written with or without group separators; 0 when it is no number.
    static double stringToDouble(const QString& text);
};

} // namespace vx::datastorage
