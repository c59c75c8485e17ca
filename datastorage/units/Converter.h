#pragma once

#include <datastorage/Export.h>
#include <datastorage/units/OptionalValue.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <QtCore/QList>
#include <QtCore/QString>

#include <map>
#include <span>
#include <tuple>

namespace vx::datastorage {

/// A decomposition of a composite parameter: parameters joined by operators, 0 after the last one. Electric
/// current times time over mass is (current, multiply, time, divide, mass, 0, 0).
using SubPhysicalParameters =
    std::tuple<PhysicalParameter, UsualUnitOperator, PhysicalParameter, UsualUnitOperator, PhysicalParameter,
               UsualUnitOperator, PhysicalParameter>;

/// Every decomposition under its composite parameter, 56 entries in ascending order of the parameter; those
/// of one parameter iterate in the order in which they are tried. Filled while the library loads, then
/// constant.
VXDATASTORAGE_EXPORT extern const std::multimap<PhysicalParameter, SubPhysicalParameters>
    MAPPING_SUB_PHYSICAL_PARAMETERS;

/// The registry of units: finds units and parameters by text, knows the main unit of every parameter,
/// lists the units that can be offered for a parameter, and converts values between them.
///
/// Samples are stored in the main unit of their parameter; the main units of composite parameters use gram
/// and square or cubic centimetre ("W/cm³"), those of the elementary ones kilogram, m² and m³. A factor f
/// means: a value v in the main unit is v x f in the other unit. Factors are float; products are formed in
/// double and narrowed once, to infinity where float ends.
///
/// Nothing fails: an unknown text or number gives 0 (unknown) or an empty text, a pair without factor
/// counts as 1. Texts are found between init() and clear() only; everything else works as soon as the
/// library is loaded.
///
/// Threads: every function may be called from any thread at any time, look-ups of texts included.
class VXDATASTORAGE_EXPORT Converter
{
public:
    Converter();
    Converter(const Converter& other);            ///< does nothing: there is no state to copy
    Converter& operator=(const Converter& other); ///< does nothing: there is no state to copy
    virtual ~Converter();

    // --- texts -------------------------------------------------------------------------------------

    /// Makes the texts of units and parameters findable and logs "Converter is initialized". The
    /// application calls it once, before the first look-up of a text.
    static void init();

    /// Makes every text unknown again, as before init(), and logs "Converter is cleared".
    static void clear();

    /// The display name of `parameter`, for example "Electric Current"; empty for an unknown number.
    static QString castPhysicalParameterAsString(const PhysicalParameter& parameter);

    /// The parameter whose display name is exactly `text`; ParameterUnknown when there is none.
    static PhysicalParameter getPhysicalParameterFromString(const QString& text);

    /// Whether getPhysicalParameterFromString() finds a parameter; "Unknown" counts as not found.
    static bool containsPhysicalParameter(const QString& text);

    /// Reads a printed unit such as "mA.h/g".
    ///
    /// The symbols between "." and "/" give the units; empty pieces are dropped and symbols beyond the
    /// fourth are not kept, but each must be known, or the result is the unknown unit. A text of
    /// separators alone is the unknown unit, the empty text is UnitNone.
    ///
    /// An operator is multiply if a "." comes anywhere later in the text, else divide: "A/s.V" reads as
    /// A times s times V. Where all "." precede all "/", as in every unit that getAvailableUnits()
    /// offers, printed units read back unchanged. An operator with no unit after it is not kept.
    ///
    /// Takes no memory, and time linear in the length of the text.
    static UsualUnit getUsualUnitFromString(const QString& text);

    /// Whether the first unit of getUsualUnitFromString() is known; the empty text counts as "None".
    static bool containsUsualUnit(const QString& text);

    /// OperatorMultiply for "MULTIPLY" or ".", OperatorDivide for "DIVIDE" or "/", exactly so written;
    /// OperatorNone for every other text.
    static UsualUnitOperator getOperatorFromString(const QString& text);

    /// OperatorMultiply if `text` has a "." at `from` (characters from 0) or later, else OperatorDivide if
    /// it has a "/" there, else OperatorNone. A negative `from` means the whole text.
    static UsualUnitOperator getOperatorFromStringUnit(const QString& text, int from);

    // --- units of parameters -------------------------------------------------------------------------

    /// The unit in which samples of `parameter` are stored; the unknown unit for an unknown number.
    static UsualUnit getMainUnit(const PhysicalParameter& parameter);

    /// The parameter whose main unit equals `unit` in all seven fields; ParameterUnknown when none has.
    /// Some parameters share their main unit ("W/g" is that of Specific Power and of Mass Power): then it
    /// is one of them.
    static PhysicalParameter getPhysicalParameterFromMainUnit(const UsualUnit& unit);

    /// `unit` with each elementary unit replaced by the main unit of its quantity: "A.s/kg" for "mA.h/g".
    /// A unit behind OperatorNone, or one that does not exist, becomes 0; the operators are kept.
    static UsualUnit getMainUnitFromSubunit(const UsualUnit& unit);

    /// The decompositions of `parameter`, in list order; empty for an elementary parameter.
    static QList<SubPhysicalParameters> getSubPhysicalParameters(PhysicalParameter parameter);

    /// The decompositions of `parameter` whose four parameters are those of the four units of `unit`, in
    /// list order. Operators are not compared.
    static QList<SubPhysicalParameters> getMatchingSubPhysicalParameters(PhysicalParameter parameter,
                                                                         const UsualUnit& unit);

    /// The elementary units with a factor for `parameter`, from the smallest to the largest unit: "fA" to
    /// "A" for the current. Empty for a composite parameter without units of its own.
    static QList<UsualUnit> getSingleUnits(const PhysicalParameter& parameter);

    /// The units that can be offered for `parameter`: its single units, then for each decomposition every
    /// combination of the single units of its parts, the unit of the last part varying fastest.
    static QList<UsualUnit> getAvailableUnits(const PhysicalParameter& parameter);

    /// The main unit of every parameter, in ascending order of the parameter; units that parameters share
    /// are repeated.
    static QList<UsualUnit> getAvailableUnits();

    /// The printed form of getAvailableUnits(), each text once, at its first place.
    static QList<QString> getAvailableUnitsAsString();

    /// The parameter that a unit measures. For a single unit the parameter of its main unit; for a
    /// composite the lowest parameter with a decomposition equal to the parameters and operators of the
    /// unit ("mA.h/g" is Mass Electric Charge); ParameterUnknown when there is none.
    static PhysicalParameter getPhysicalParameterFromUnits(const UsualUnit& unit);

    /// `unit` with `type` appended, joined by `unitOperator`. Unchanged if its first unit is UnitUnknown or
    /// UnitNone, or if all four parts are used.
    static UsualUnit composeUnitManually(const UsualUnit& unit, const UsualUnitOperator& unitOperator,
                                         const UsualUnitType& type);

    /// Whether `unit` is normalised by a mass, a surface or a volume: its second part is present and its
    /// last unit measures one of these. "mA.h/g" is, "g" and "V/s" are not.
    static bool isMsvUnit(const UsualUnit& unit);

    // --- factors -------------------------------------------------------------------------------------

    /// Whether a conversion between the main unit of `parameter` and `unit` is defined: for a single unit,
    /// that the pair has a factor; for a composite, that each unit has one for its part of some
    /// decomposition of `parameter`. Operators are not compared.
    static bool containsConversion(const PhysicalParameter& parameter, const UsualUnit& unit);

    /// The factor from the main unit of `parameter` to `unit`; exactly 1 for the main unit itself.
    static float getConversionFactorFromMainUnitToSubUnit(const PhysicalParameter& parameter,
                                                          const UsualUnit& unit);

    /// The factor from `unit` to the main unit of `parameter`; exactly 1 for the main unit itself.
    static float getConversionFactorFromSubUnitToMainUnit(const PhysicalParameter& parameter,
                                                          const UsualUnit& unit);

    /// The factor from the main unit of `parameter` to the same composition in elementary main units, 3.6e6
    /// from "A.h/g" to "A.s/kg".
    static float getConversionFactorFromCustomMainUnitToMainUnit(const PhysicalParameter& parameter);

    /// `value`, in the main unit of `parameter`, in `unit`: value x factor. A `factor` of exactly -1 means
    /// "not known yet", and the call finds the factor itself. With a known factor it costs a product.
    static float convertFromMainUnitToSubUnit(const PhysicalParameter& parameter, const UsualUnit& unit,
                                              const float& value, float factor)
    {
        if (factor == UNKNOWN_FACTOR)
            factor = getConversionFactorFromMainUnitToSubUnit(PhysicalParameter(parameter), UsualUnit(unit));
        return value * factor;
    }

    /// `value`, in `unit`, in the main unit of `parameter`; `factor` as in convertFromMainUnitToSubUnit().
    static float convertFromSubUnitToMainUnit(const PhysicalParameter& parameter, const UsualUnit& unit,
                                              const float& value, float factor)
    {
        if (factor == UNKNOWN_FACTOR)
            factor = getConversionFactorFromSubUnitToMainUnit(PhysicalParameter(parameter), UsualUnit(unit));
        return value * factor;
    }

    /// Multiplies `value` by `factor`, or by the factor from the main unit to `unit` when `factor` is -1. A
    /// pair without conversion, see containsConversion(), leaves it unchanged.
    static void convertSingleUnit(float& value, PhysicalParameter parameter, UsualUnit unit, float factor);

    /// Multiplies every sample by `factor`; NaN stays NaN. Here -1 is a factor like any other.
    static void convertSamples(std::span<float> samples, float factor)
    {
        for (float& sample : samples)
            sample *= factor;
    }

    /// Converts samples in place from the main unit of `parameter` to `unit`, with the same results as one
    /// convertFromMainUnitToSubUnit() per sample; the factor is found once.
    static void convertSamplesFromMainUnitToSubUnit(std::span<float> samples,
                                                    const PhysicalParameter& parameter,
                                                    const UsualUnit& unit);

    /// Converts samples in place from `unit` to the main unit of `parameter`, with the same results as one
    /// convertFromSubUnitToMainUnit() per sample; the factor is found once.
    static void convertSamplesFromSubUnitToMainUnit(std::span<float> samples,
                                                    const PhysicalParameter& parameter,
                                                    const UsualUnit& unit);

    // --- normalised units ----------------------------------------------------------------------------

    /// The factor that applies a normalisation by `amount`, a mass, area or volume in the main unit of its
    /// parameter, counted in `unit` and joined by `unitOperator`: 1/a for divide (0 if a is 0) and a for
    /// multiply, with a the amount in `unit`; 1 without operator. 1 for the unknown unit and UnitNone.
    /// An absent amount gives -1, no factor.
    static float getToMSVConversionFactor(const UsualUnit& unit, const UsualUnitOperator& unitOperator,
                                          OptionalValue<double> amount);

    /// The factor that removes the normalisation: getToMSVConversionFactor() with multiply and divide
    /// swapped.
    static float getFromMSVConversionFactor(const UsualUnit& unit, const UsualUnitOperator& unitOperator,
                                            OptionalValue<double> amount);

    /// The factor from a composite whose last part is a normalising quantity to the main unit of its first
    /// unit's parameter. Only the last part takes `amount`, in the main unit of its parameter; the parts
    /// between count once. For "mA.h/g" and 0.002 kg it is 7.2: one mA.h/g on 2 g is 7.2 A.s.
    static float getConversionFactorFromUnit(const UsualUnit& unit, OptionalValue<double> amount);

    /// The opposite of getConversionFactorFromUnit().
    static float getConversionFactorToUnit(const UsualUnit& unit, OptionalValue<double> amount);

private:
    /// Stands for a factor that the caller does not know. Where it is looked up inline, the look-up gets
    /// copies of parameter and unit: if it got the caller's, a temporary parameter would be put into memory
    /// for each sample, and gcc would not vectorise a loop of conversions (2.6 times a plain loop).
    static constexpr float UNKNOWN_FACTOR = -1.0F;

    static QList<UsualUnit> sortUnitsByUsualUnitType(QList<UsualUnit> units,
                                                     const PhysicalParameter& parameter);
    static bool descending(UsualUnit a, UsualUnit b, const PhysicalParameter& parameter);
};

} // namespace vx::datastorage
