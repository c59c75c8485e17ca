#pragma once

#include <datastorage/Export.h>
#include <datastorage/units/UsualUnitType.h>

#include <archive/ArchiveContext.h>

#include <QtCore/QHash>
#include <QtCore/QJsonValue>
#include <QtCore/QString>

#include <cstdint>
#include <type_traits>

namespace vx::datastorage {

/// The unit of a data array: up to four elementary units joined left to right by multiply and divide
/// operators, such as "mA.h/g".
///
/// A plain value of seven 32-bit numbers without heap data: copy it freely. A part is present when its
/// operator is not OperatorNone and its unit is a real one, above UnitNone; the fields after the last
/// part are 0. Nothing is normalised: two composites that mean the same physical unit but are written
/// differently are different values.
///
/// Threads: a value like an int; the static functions may be called from any thread.
class VXDATASTORAGE_EXPORT UsualUnit
{
public:
    /// The unknown unit: all seven fields 0.
    constexpr UsualUnit() = default;

    /// One elementary unit.
    constexpr UsualUnit(UsualUnitType unit1) : m_unit1(unit1) {}

    /// Two units, for example "A.h".
    constexpr UsualUnit(UsualUnitType unit1, UsualUnitOperator unitOperator, UsualUnitType unit2)
        : m_unit1(unit1), m_unitOperator(unitOperator), m_unit2(unit2)
    {}

    /// Three units, for example "A.h/g".
    constexpr UsualUnit(UsualUnitType unit1, UsualUnitOperator unitOperator, UsualUnitType unit2,
                        UsualUnitOperator unitOperator2, UsualUnitType unit3)
        : m_unit1(unit1),
          m_unitOperator(unitOperator),
          m_unit2(unit2),
          m_unitOperator2(unitOperator2),
          m_unit3(unit3)
    {}

    /// Four units, all seven fields in order.
    constexpr UsualUnit(UsualUnitType unit1, UsualUnitOperator unitOperator, UsualUnitType unit2,
                        UsualUnitOperator unitOperator2, UsualUnitType unit3, UsualUnitOperator unitOperator3,
                        UsualUnitType unit4)
        : m_unit1(unit1),
          m_unitOperator(unitOperator),
          m_unit2(unit2),
          m_unitOperator2(unitOperator2),
          m_unit3(unit3),
          m_unitOperator3(unitOperator3),
          m_unit4(unit4)
    {}

    /// The composite that `old` stands for; the unknown unit for a number that names none.
    UsualUnit(UsualUnitTypeOld old) { convertFromOldType(old); }

    constexpr UsualUnitType getUnit1() const { return m_unit1; } ///< UnitUnknown: all is unknown
    constexpr UsualUnitType getUnit2() const { return m_unit2; } ///< 0 when absent
    constexpr UsualUnitType getUnit3() const { return m_unit3; } ///< 0 when absent
    constexpr UsualUnitType getUnit4() const { return m_unit4; } ///< 0 when absent
    constexpr UsualUnitOperator getOperator() const { return m_unitOperator; }   ///< between units 1 and 2
    constexpr UsualUnitOperator getOperator2() const { return m_unitOperator2; } ///< between units 2 and 3
    constexpr UsualUnitOperator getOperator3() const { return m_unitOperator3; } ///< between units 3 and 4

    /// Whether the first unit is UnitUnknown; the other fields are not looked at. UnitNone is known.
    constexpr bool isUnknown() const { return m_unit1 == UnitUnknown; }

    /// Whether the second part is present: its operator is set and its unit a real one. Like hasUnit3()
    /// and hasUnit4() it looks at its own pair alone, not at the parts before it.
    constexpr bool hasUnit2() const { return isPart(m_unitOperator, m_unit2); }
    constexpr bool hasUnit3() const { return isPart(m_unitOperator2, m_unit3); } ///< as hasUnit2()
    constexpr bool hasUnit4() const { return isPart(m_unitOperator3, m_unit4); } ///< as hasUnit2()

    /// The last unit field that is not 0, whatever the operators; the first unit when none is set.
    constexpr UsualUnitType getLastUnit() const
    {
        if (m_unit4 != UnitUnknown)
            return m_unit4;
        if (m_unit3 != UnitUnknown)
            return m_unit3;
        return m_unit2 != UnitUnknown ? m_unit2 : m_unit1;
    }

    /// Whether all seven fields are equal.
    constexpr bool operator==(const UsualUnit&) const = default;

    /// Whether this is the composite that `old` stands for.
    bool operator==(const UsualUnitTypeOld& old) const { return *this == UsualUnit(old); }

    /// Compares by unit numbers. With operators that differ, the first units alone decide. Otherwise
    /// the result is true only if every unit, up to the last operator, is less than its counterpart.
    ///
    /// This is deliberately no strict weak ordering, and must not be handed to a sorted container:
    /// "A.h" and "mA.s" are neither less, nor greater, nor equal.
    bool operator<(const UsualUnit& other) const;

    /// As operator<, with every comparison turned round.
    bool operator>(const UsualUnit& other) const;

    /// Becomes the composite that `old` stands for. For a number that names none the first unit stays
    /// as it is and the six other fields become 0.
    void convertFromOldType(UsualUnitTypeOld old);

    /// The printed form: the symbols with "." or "/" between them, such as "mA.h/g". It ends before the
    /// first missing part; a number without symbol prints as nothing.
    /// Converter::getUsualUnitFromString() reads it back.
    static QString castUsualUnitAsString(const UsualUnit& unit);

    /// Reads the object that write() makes, or the number of an older document, which goes through
    /// convertFromOldType(). A member that is missing or no number is 0, except that without
    /// "unitOperator3" or "unit4" these fields keep their value. Any other value is the old number 0,
    /// the unknown unit; a printed text therefore is not read back. `version` and `context` are not
    /// used. Always true.
    bool read(const QJsonValue& value, int version, vx::archive::ArchiveContext& context);

    /// Writes to `value` an object of the seven fields as integers ("unit1", "unitOperator", "unit2",
    /// "unitOperator2", "unit3", "unitOperator3", "unit4"); with `context.unitsAsText` set, the printed
    /// form, which is for export only. `version` is not used. Always true.
    bool write(QJsonValueRef value, int version, vx::archive::ArchiveContext& context) const;

    /// The symbol of each elementary unit, 76 entries; filled while the library loads, then constant.
    static const QHash<UsualUnitType, QString> MAPPING_UNIT_STRING;

private:
    static constexpr bool isPart(UsualUnitOperator unitOperator, UsualUnitType unit)
    {
        return unitOperator != OperatorNone && static_cast<std::uint32_t>(unit) > UnitNone;
    }

    UsualUnitType m_unit1 = UnitUnknown;
    UsualUnitOperator m_unitOperator = OperatorNone;
    UsualUnitType m_unit2 = UnitUnknown;
    UsualUnitOperator m_unitOperator2 = OperatorNone;
    UsualUnitType m_unit3 = UnitUnknown;
    UsualUnitOperator m_unitOperator3 = OperatorNone;
    UsualUnitType m_unit4 = UnitUnknown;
};

static_assert(std::is_trivially_copyable_v<UsualUnit> && sizeof(UsualUnit) == 7 * sizeof(std::int32_t));

} // namespace vx::datastorage
