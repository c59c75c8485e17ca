#pragma once

#include <datastorage/units/UsualUnit.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace vx::cli {

/// A column heading, taken apart into name and unit.
struct Heading
{
    QString text;     ///< as it stands in the table
    QString name;     ///< without the unit; never empty unless the text is
    QString unitText; ///< as it was written, empty when the heading has no unit
    bool hasUnit = false;
    /// The unit; the unknown unit when there is none or the library cannot name it.
    datastorage::UsualUnit unit;
    /// Whether the unit is a bare symbol behind an underscore ("I_mA") and may just as well be part of
    /// the name: it counts only where it fits what the name stands for.
    bool isTentative = false;
};

/// Takes a heading apart. Understood are "Voltage [V]", "Voltage (V)", "Current / mA", "Frequency/Hz",
/// "voltage_volt", "charging_capacity_ah", "I_mA" and a bare name. A "C" behind the name of a temperature
/// is degree Celsius. Needs Converter::init().
Heading readHeading(const QString& text);

/// The same heading with its unit taken as part of its name.
Heading withoutUnit(const Heading& heading);

/// The words of a name in lower case, divided at everything that is no letter, before digits and between
/// a small and a capital letter: "TempBottom 2" is "temp", "bottom", "2".
QStringList wordsOf(const QString& name);

/// Whether a name speaks of a temperature.
bool isTemperatureName(const QString& name);

} // namespace vx::cli
