#pragma once

#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <QtCore/QString>

namespace vx::cli {

/// Reads a unit as people write it in headings and commands: the library's own form ("mA.h/g") and the
/// usual variations of it, such as "mAh/g", "uA", "degC", "Ohm", "cm^2", "kilohertz" or "percent".
///
/// "-", "1", "none" and the empty text are the dimensionless unit "-". The unknown unit is returned for
/// everything that the library cannot name. Needs Converter::init().
datastorage::UsualUnit readUnit(const QString& text);

/// As readUnit(), for spelled-out words alone ("second", "milliampere", "ah"): a word that may as well be
/// part of a name, such as a symbol of one letter, is not taken.
datastorage::UsualUnit readUnitWord(const QString& word);

/// The printed form of a unit, for example "mA.h/g".
QString unitText(const datastorage::UsualUnit& unit);

/// Whether values in `unit` can be values of `parameter`: it measures the same quantity as the main
/// unit of the parameter.
bool isUnitOf(const datastorage::UsualUnit& unit, datastorage::PhysicalParameter parameter);

/// The factors between a unit and the main unit of a parameter, for values held in double.
///
/// The library's factors are single precision, in which 1/3600 is not exact but its reciprocal is a
/// whole number. A factor of an elementary unit that is a whole number or the reciprocal of one within that
/// precision is taken as that number, and the factor of a composite as the product of its parts, so that
/// values come back from the main unit as they went in.
struct UnitFactors
{
    double toMain = 1.0;
    double fromMain = 1.0;
};

/// The factors of `unit` for `parameter`, from the library's converter.
UnitFactors unitFactors(datastorage::PhysicalParameter parameter, const datastorage::UsualUnit& unit);

} // namespace vx::cli
