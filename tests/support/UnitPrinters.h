#pragma once

#include <datastorage/units/Converter.h>

#include <support/Printers.h>

#include <ostream>

// Units and parameters print as text and numbers in the messages of failed tests.

namespace vx::datastorage {

inline void PrintTo(PhysicalParameter parameter,
                    std::ostream* stream) // NOLINT(readability-identifier-naming)
{
    *stream << static_cast<int>(parameter) << " \""
            << Converter::castPhysicalParameterAsString(parameter).toStdString() << '"';
}

inline void PrintTo(const UsualUnit& unit, std::ostream* stream) // NOLINT(readability-identifier-naming)
{
    *stream << '"' << UsualUnit::castUsualUnitAsString(unit).toStdString() << "\" ("
            << static_cast<int>(unit.getUnit1()) << ", " << static_cast<int>(unit.getOperator()) << ", "
            << static_cast<int>(unit.getUnit2()) << ", " << static_cast<int>(unit.getOperator2()) << ", "
            << static_cast<int>(unit.getUnit3()) << ", " << static_cast<int>(unit.getOperator3()) << ", "
            << static_cast<int>(unit.getUnit4()) << ')';
}

} // namespace vx::datastorage
