#include <datastorage/units/OldUnits_p.h>
#include <datastorage/units/UnitTables_p.h>
#include <datastorage/units/UsualUnit.h>

#include <QtCore/QJsonObject>

#include <algorithm>
#include <array>
#include <functional>
#include <utility>

namespace vx::datastorage {

namespace {

static_assert(UNITS.size() == 76);
static_assert(std::ranges::is_sorted(OLD_UNITS, std::ranges::less{}, &OldUnitRow::old));

QHash<UsualUnitType, QString> makeUnitStrings()
{
    QHash<UsualUnitType, QString> strings;
    strings.reserve(static_cast<qsizetype>(UNITS.size()));
    for (const UnitRow& row : UNITS)
        strings.insert(row.unit, row.symbol.toString());
    return strings;
}

QStringView symbolOf(UsualUnitType unit)
{
    const UnitRow* row = findUnitRow(unit);
    return row != nullptr ? row->symbol : QStringView();
}

/// The text between two units; null for an operator that prints as nothing.
QChar separatorOf(UsualUnitOperator unitOperator)
{
    if (unitOperator == OperatorMultiply)
        return u'.';
    return unitOperator == OperatorDivide ? QChar(u'/') : QChar();
}

/// How many leading units operator< and operator> compare when all operators are equal.
std::size_t comparedUnits(const UsualUnit& unit)
{
    if (unit.getOperator3() != OperatorNone)
        return 4;
    if (unit.getOperator2() != OperatorNone)
        return 3;
    return unit.getOperator() != OperatorNone ? 2 : 1;
}

template <typename Compare>
bool everyUnit(const UsualUnit& left, const UsualUnit& right, Compare compare)
{
    if (left.getOperator() != right.getOperator() || left.getOperator2() != right.getOperator2() ||
        left.getOperator3() != right.getOperator3())
        return compare(left.getUnit1(), right.getUnit1());
    const std::array leftUnits{left.getUnit1(), left.getUnit2(), left.getUnit3(), left.getUnit4()};
    const std::array rightUnits{right.getUnit1(), right.getUnit2(), right.getUnit3(), right.getUnit4()};
    for (std::size_t i = 0; i < comparedUnits(left); ++i) {
        if (!compare(leftUnits[i], rightUnits[i]))
            return false;
    }
    return true;
}

template <typename Enum>
Enum readMember(const QJsonObject& object, QLatin1String key)
{
    return static_cast<Enum>(object.value(key).toInt(0));
}

} // namespace

const QHash<UsualUnitType, QString> UsualUnit::MAPPING_UNIT_STRING = makeUnitStrings();

bool UsualUnit::operator<(const UsualUnit& other) const
{
    return everyUnit(*this, other, std::less<UsualUnitType>{});
}

bool UsualUnit::operator>(const UsualUnit& other) const
{
    return everyUnit(*this, other, std::greater<UsualUnitType>{});
}

void UsualUnit::convertFromOldType(UsualUnitTypeOld old)
{
    const auto* row = std::ranges::lower_bound(OLD_UNITS, old, std::ranges::less{}, &OldUnitRow::old);
    if (row != OLD_UNITS.end() && row->old == old)
        *this = row->unit;
    else
        *this = UsualUnit(m_unit1);
}

QString UsualUnit::castUsualUnitAsString(const UsualUnit& unit)
{
    const std::array parts{std::pair{unit.m_unitOperator, unit.m_unit2},
                           std::pair{unit.m_unitOperator2, unit.m_unit3},
                           std::pair{unit.m_unitOperator3, unit.m_unit4}};
    QString text = symbolOf(unit.m_unit1).toString();
    for (const auto& [unitOperator, partUnit] : parts) {
        const QChar separator = separatorOf(unitOperator);
        if (separator.isNull() || !isPart(unitOperator, partUnit))
            break;
        text += separator;
        text += symbolOf(partUnit);
    }
    return text;
}

bool UsualUnit::read(const QJsonValue& value, int /*version*/, vx::archive::ArchiveContext& /*context*/)
{
    if (!value.isObject()) {
        convertFromOldType(static_cast<UsualUnitTypeOld>(value.toInt(0)));
        return true;
    }
    const QJsonObject object = value.toObject();
    m_unit1 = readMember<UsualUnitType>(object, QLatin1String("unit1"));
    m_unitOperator = readMember<UsualUnitOperator>(object, QLatin1String("unitOperator"));
    m_unit2 = readMember<UsualUnitType>(object, QLatin1String("unit2"));
    m_unitOperator2 = readMember<UsualUnitOperator>(object, QLatin1String("unitOperator2"));
    m_unit3 = readMember<UsualUnitType>(object, QLatin1String("unit3"));
    // Documents written before there was a fourth unit have only the five members above.
    if (object.contains(QLatin1String("unitOperator3")))
        m_unitOperator3 = readMember<UsualUnitOperator>(object, QLatin1String("unitOperator3"));
    if (object.contains(QLatin1String("unit4")))
        m_unit4 = readMember<UsualUnitType>(object, QLatin1String("unit4"));
    return true;
}

bool UsualUnit::write(QJsonValueRef value, int /*version*/, vx::archive::ArchiveContext& context) const
{
    if (context.unitsAsText) {
        value = castUsualUnitAsString(*this);
        return true;
    }
    QJsonObject object;
    object.insert(QLatin1String("unit1"), static_cast<int>(m_unit1));
    object.insert(QLatin1String("unitOperator"), static_cast<int>(m_unitOperator));
    object.insert(QLatin1String("unit2"), static_cast<int>(m_unit2));
    object.insert(QLatin1String("unitOperator2"), static_cast<int>(m_unitOperator2));
    object.insert(QLatin1String("unit3"), static_cast<int>(m_unit3));
    object.insert(QLatin1String("unitOperator3"), static_cast<int>(m_unitOperator3));
    object.insert(QLatin1String("unit4"), static_cast<int>(m_unit4));
    value = object;
    return true;
}

} // namespace vx::datastorage
