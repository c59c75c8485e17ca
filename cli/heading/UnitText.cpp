#include "heading/UnitText.h"

#include <datastorage/units/Converter.h>

#include <QtCore/QStringList>

#include <array>
#include <cmath>
#include <tuple>

namespace vx::cli {
namespace {

using datastorage::Converter;
using datastorage::UsualUnit;

struct Alias
{
    const char* text;
    const char* unit;
};

/// Symbols in other spellings, exactly as they are written.
constexpr std::array ALIAS_SYMBOLS{
    Alias{"Ah", "A.h"},   Alias{"mAh", "mA.h"}, Alias{"uAh", "µA.h"}, Alias{"µAh", "µA.h"},
    Alias{"nAh", "nA.h"}, Alias{"As", "A.s"},   Alias{"mAs", "mA.s"}, Alias{"Wh", "W.h"},
    Alias{"mWh", "mW.h"}, Alias{"uWh", "µW.h"}, Alias{"µWh", "µW.h"}, Alias{"Ws", "W.s"},
    Alias{"degC", "°C"},  Alias{"Deg C", "°C"}, Alias{"deg C", "°C"}, Alias{"° C", "°C"},
    Alias{"°", "deg"},    Alias{"sec", "s"},    Alias{"msec", "ms"},  Alias{"us", "µs"},
    Alias{"hr", "h"},     Alias{"hrs", "h"},    Alias{"uA", "µA"},    Alias{"uV", "µV"},
    Alias{"uW", "µW"},    Alias{"uJ", "µJ"},    Alias{"uC", "µC"},    Alias{"uHz", "µHz"},
    Alias{"ug", "µg"},    Alias{"um", "µm"},    Alias{"ohm", "Ω"},    Alias{"Ohm", "Ω"},
    Alias{"mohm", "mΩ"},  Alias{"mOhm", "mΩ"},  Alias{"uohm", "µΩ"},  Alias{"uOhm", "µΩ"},
    Alias{"kohm", "kΩ"},  Alias{"kOhm", "kΩ"},  Alias{"MOhm", "MΩ"},  Alias{"S", "Ω⁻¹"},
    Alias{"1/Ω", "Ω⁻¹"},  Alias{"m2", "m²"},    Alias{"dm2", "dm²"},  Alias{"cm2", "cm²"},
    Alias{"mm2", "mm²"},  Alias{"um2", "µm²"},  Alias{"µm2", "µm²"},  Alias{"nm2", "nm²"},
    Alias{"m3", "m³"},    Alias{"cm3", "cm³"},  Alias{"mm3", "mm³"},  Alias{"l", "L"},
    Alias{"ml", "mL"},
};

/// Words in lower case; a plural "s" is taken off before the look-up.
constexpr std::array ALIAS_WORDS{
    Alias{"second", "s"},        Alias{"millisecond", "ms"},
    Alias{"microsecond", "µs"},  Alias{"nanosecond", "ns"},
    Alias{"minute", "min"},      Alias{"hour", "h"},
    Alias{"day", "day"},         Alias{"volt", "V"},
    Alias{"millivolt", "mV"},    Alias{"microvolt", "µV"},
    Alias{"ampere", "A"},        Alias{"amp", "A"},
    Alias{"milliampere", "mA"},  Alias{"milliamp", "mA"},
    Alias{"microampere", "µA"},  Alias{"microamp", "µA"},
    Alias{"nanoampere", "nA"},   Alias{"picoampere", "pA"},
    Alias{"ah", "A.h"},          Alias{"mah", "mA.h"},
    Alias{"amperehour", "A.h"},  Alias{"milliamperehour", "mA.h"},
    Alias{"coulomb", "C"},       Alias{"millicoulomb", "mC"},
    Alias{"microcoulomb", "µC"}, Alias{"watt", "W"},
    Alias{"milliwatt", "mW"},    Alias{"microwatt", "µW"},
    Alias{"wh", "W.h"},          Alias{"mwh", "mW.h"},
    Alias{"watthour", "W.h"},    Alias{"milliwatthour", "mW.h"},
    Alias{"joule", "J"},         Alias{"kilojoule", "kJ"},
    Alias{"millijoule", "mJ"},   Alias{"celsius", "°C"},
    Alias{"degc", "°C"},         Alias{"hertz", "Hz"},
    Alias{"kilohertz", "kHz"},   Alias{"megahertz", "MHz"},
    Alias{"millihertz", "mHz"},  Alias{"microhertz", "µHz"},
    Alias{"ohm", "Ω"},           Alias{"milliohm", "mΩ"},
    Alias{"microohm", "µΩ"},     Alias{"kiloohm", "kΩ"},
    Alias{"megaohm", "MΩ"},      Alias{"siemens", "Ω⁻¹"},
    Alias{"percent", "%"},       Alias{"degree", "deg"},
    Alias{"radian", "rad"},      Alias{"farad", "F"},
    Alias{"henry", "H"},         Alias{"gram", "g"},
    Alias{"milligram", "mg"},    Alias{"kilogram", "kg"},
    Alias{"meter", "m"},         Alias{"metre", "m"},
};

/// Texts that mean a number without unit.
constexpr std::array DIMENSIONLESS_TEXTS{"", "-", "1", "none", "None", "dimensionless", "count", "counts"};

template <std::size_t N>
QString findAlias(const std::array<Alias, N>& aliases, const QString& text)
{
    for (const Alias& alias : aliases) {
        if (text == QString::fromUtf8(alias.text)) {
            return QString::fromUtf8(alias.unit);
        }
    }
    return {};
}

/// One character per meaning: several code points look the same in a heading.
QString normalised(QString text)
{
    text = text.trimmed();
    text.replace(QChar(0x2126), QChar(0x03A9)); // ohm sign, omega
    text.replace(QChar(0x03BC), QChar(0x00B5)); // mu, micro sign
    text.replace(QChar(0x2212), QLatin1Char('-'));
    for (const char16_t dot : {u'\u00B7', u'\u22C5', u'*'}) {
        text.replace(QChar(dot), QLatin1Char('.'));
    }
    text.replace(QLatin1String("^2"), QString(QChar(0x00B2)));
    text.replace(QLatin1String("^3"), QString(QChar(0x00B3)));
    return text;
}

QString wordAlias(const QString& word)
{
    const QString lower = word.toLower();
    QString found = findAlias(ALIAS_WORDS, lower);
    if (!found.isEmpty() || !lower.endsWith(QLatin1Char('s'))) {
        return found;
    }
    return findAlias(ALIAS_WORDS, lower.chopped(1));
}

/// The library's symbol of one part of a composite; the part itself when no other spelling is known.
QString symbolOf(const QString& part)
{
    QString symbol = findAlias(ALIAS_SYMBOLS, part);
    if (symbol.isEmpty()) {
        symbol = wordAlias(part);
    }
    return symbol.isEmpty() ? part : symbol;
}

/// The text with every part between "." and "/" in the library's spelling.
QString respelled(const QString& text)
{
    QString result;
    QString part;
    for (const QChar c : text) {
        if (c == QLatin1Char('.') || c == QLatin1Char('/')) {
            result += symbolOf(part.trimmed()) + c;
            part.clear();
        } else {
            part += c;
        }
    }
    return result + symbolOf(part.trimmed());
}

bool isReal(const UsualUnit& unit)
{
    return unit.getUnit1() > datastorage::UnitNone;
}

/// A factor that is a whole number within single precision, as that number.
bool isWhole(double factor, double& whole)
{
    constexpr double SINGLE_PRECISION = 1.2e-7;
    whole = std::round(factor);
    return whole >= 1.0 && std::abs(factor - whole) <= whole * SINGLE_PRECISION;
}

/// The factors of the library, whole numbers recognised.
UnitFactors libraryFactors(datastorage::PhysicalParameter parameter, const UsualUnit& unit)
{
    const auto toMain =
        static_cast<double>(Converter::getConversionFactorFromSubUnitToMainUnit(parameter, unit));
    const auto fromMain =
        static_cast<double>(Converter::getConversionFactorFromMainUnitToSubUnit(parameter, unit));
    double whole = 0;
    if (isWhole(toMain, whole)) {
        return {whole, 1.0 / whole};
    }
    if (isWhole(fromMain, whole)) {
        return {1.0 / whole, whole};
    }
    return {toMain, fromMain};
}

/// The factor from a unit to the elementary main units that it is made of, as the product of the factors of
/// its parts: for "mA.h" 3600 / 1000. 0 when the parts of the parameter are not known.
double elementaryProduct(datastorage::PhysicalParameter parameter, const UsualUnit& unit)
{
    if (!unit.hasUnit2()) {
        return libraryFactors(parameter, unit.getUnit1()).toMain;
    }
    const auto decompositions = Converter::getMatchingSubPhysicalParameters(parameter, unit);
    if (decompositions.isEmpty()) {
        return 0;
    }
    const auto& parts = decompositions.front();
    double product = libraryFactors(std::get<0>(parts), unit.getUnit1()).toMain;
    const auto join = [&product](datastorage::UsualUnitOperator unitOperator,
                                 datastorage::PhysicalParameter part, datastorage::UsualUnitType type) {
        if (unitOperator != datastorage::OperatorNone) {
            const double factor = libraryFactors(part, type).toMain;
            product = unitOperator == datastorage::OperatorDivide ? product / factor : product * factor;
        }
    };
    join(unit.getOperator(), std::get<2>(parts), unit.getUnit2());
    join(unit.getOperator2(), std::get<4>(parts), unit.getUnit3());
    join(unit.getOperator3(), std::get<6>(parts), unit.getUnit4());
    return product;
}

} // namespace

UsualUnit readUnit(const QString& text)
{
    const QString unit = normalised(text);
    for (const char* dimensionless : DIMENSIONLESS_TEXTS) {
        if (unit == QLatin1String(dimensionless)) {
            return datastorage::UnitDimensionless;
        }
    }
    for (const QString& candidate : {unit, symbolOf(unit), respelled(unit)}) {
        const UsualUnit found = Converter::getUsualUnitFromString(candidate);
        if (isReal(found)) {
            return found;
        }
    }
    return {};
}

UsualUnit readUnitWord(const QString& word)
{
    const QString symbol = wordAlias(word);
    return symbol.isEmpty() ? UsualUnit() : Converter::getUsualUnitFromString(symbol);
}

QString unitText(const UsualUnit& unit)
{
    return UsualUnit::castUsualUnitAsString(unit);
}

bool isUnitOf(const UsualUnit& unit, datastorage::PhysicalParameter parameter)
{
    const UsualUnit mainUnit = Converter::getMainUnit(parameter);
    if (unit == mainUnit) {
        return isReal(unit);
    }
    const datastorage::PhysicalParameter measured = Converter::getPhysicalParameterFromUnits(unit);
    return measured > datastorage::ParameterNone &&
           measured == Converter::getPhysicalParameterFromUnits(mainUnit);
}

UnitFactors unitFactors(datastorage::PhysicalParameter parameter, const UsualUnit& unit)
{
    const UnitFactors library = libraryFactors(parameter, unit);
    const double mainProduct = elementaryProduct(parameter, Converter::getMainUnit(parameter));
    const double product = elementaryProduct(parameter, unit);
    if (product == 0 || mainProduct == 0) {
        return library;
    }
    const double exact = product / mainProduct;
    constexpr double ROUNDING = 1e-6;
    return std::abs(exact - library.toMain) <= ROUNDING * library.toMain ? UnitFactors{exact, 1.0 / exact}
                                                                         : library;
}

} // namespace vx::cli
