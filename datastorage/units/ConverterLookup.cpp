#include <datastorage/units/Converter.h>
#include <datastorage/units/ParameterTables_p.h>
#include <datastorage/units/TextTable_p.h>
#include <datastorage/units/UnitTables_p.h>
#include <datastorage/units/UnitsLog_p.h>

#include <QtCore/QtDebug>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace vx::datastorage {

namespace {

static_assert(PARAMETERS.size() == 68);
static_assert(DECOMPOSITIONS.size() == 56);
static_assert(std::ranges::is_sorted(DECOMPOSITIONS, std::ranges::less{}, &DecompositionRow::parameter));
static_assert([] {
    for (std::size_t number = 0; number < PARAMETERS.size(); ++number) {
        if (PARAMETERS[number].parameter != static_cast<PhysicalParameter>(number))
            return false;
    }
    return true;
}());

template <typename Row, std::size_t Count>
constexpr TextTable<Count> makeTextTable(const std::array<Row, Count>& rows, QStringView Row::*text)
{
    std::array<QStringView, Count> texts{};
    std::ranges::transform(rows, texts.begin(), text);
    return TextTable<Count>(texts);
}

constexpr TextTable UNIT_TEXTS = makeTextTable(UNITS, &UnitRow::symbol);
constexpr TextTable PARAMETER_TEXTS = makeTextTable(PARAMETERS, &ParameterRow::name);

/// Whether texts can be found. The tables behind them are constants of the program and need no building,
/// so this one flag is all that init() and clear() change, and look-ups on other threads see either state.
std::atomic<bool> textsAreKnown{false};

constexpr bool isSeparator(QChar character)
{
    return character == u'.' || character == u'/';
}

constexpr bool hasSeparator(QStringView text)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isSeparator(text[i]))
            return true;
    }
    return false;
}

/// The one symbol that contains a separator, "s^1/2". It is recognised whole, so that it can be read back.
constexpr QStringView SYMBOL_WITH_SEPARATOR = UNITS[placeOfUnit(UnitSquareRootSecond)].symbol;
constexpr qsizetype PLACE_OF_SEPARATOR = 3;
static_assert(std::ranges::count_if(UNITS, hasSeparator, &UnitRow::symbol) == 1);
static_assert(isSeparator(SYMBOL_WITH_SEPARATOR[PLACE_OF_SEPARATOR]));

/// Whether the separator at `place` belongs to a symbol that starts at `start`.
bool belongsToSymbol(QStringView text, qsizetype start, qsizetype place)
{
    if (place - start != PLACE_OF_SEPARATOR || !text.sliced(start).startsWith(SYMBOL_WITH_SEPARATOR))
        return false;
    const qsizetype end = start + SYMBOL_WITH_SEPARATOR.size();
    return end == text.size() || isSeparator(text[end]);
}

/// A printed unit taken apart: the units and the lengths of its first four symbols, how many symbols there
/// are in all, and where the last separators stand. A count of 0 stands for a text without symbols or with
/// an unknown one.
struct UnitSymbols
{
    std::array<UsualUnitType, 4> units{};
    std::array<qsizetype, 4> lengths{};
    qsizetype count = 0;
    qsizetype lastPoint = -1;
    qsizetype lastSlash = -1;

    void append(UsualUnitType unit, qsizetype length)
    {
        if (count < 4) {
            units[static_cast<std::size_t>(count)] = unit;
            lengths[static_cast<std::size_t>(count)] = length;
        }
        ++count;
    }
};

UsualUnitType findUnit(QStringView symbol, std::uint32_t hash)
{
    const int row = UNIT_TEXTS.find(symbol, hash);
    return row < 0 ? UnitUnknown : UNITS[static_cast<std::size_t>(row)].unit;
}

/// Reads every character once. A separator inside a symbol is not noted: behind it stands no unit that
/// would need an operator.
UnitSymbols readSymbols(QStringView text)
{
    UnitSymbols symbols;
    qsizetype start = 0;
    std::uint32_t hash = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        const bool ends = i == text.size() || (isSeparator(text[i]) && !belongsToSymbol(text, start, i));
        if (!ends) {
            hash = UNIT_TEXTS.addToHash(hash, text[i].unicode());
            continue;
        }
        if (i > start) {
            const UsualUnitType unit = findUnit(text.sliced(start, i - start), hash);
            if (unit == UnitUnknown)
                return {};
            symbols.append(unit, i - start);
        }
        if (i < text.size())
            (text[i] == u'.' ? symbols.lastPoint : symbols.lastSlash) = i;
        start = i + 1;
        hash = 0;
    }
    return symbols;
}

/// The operator read from the part of a text that starts at `from`, given the last separators of the text.
UsualUnitOperator operatorFrom(qsizetype from, qsizetype lastPoint, qsizetype lastSlash)
{
    if (lastPoint >= from)
        return OperatorMultiply;
    return lastSlash >= from ? OperatorDivide : OperatorNone;
}

} // namespace

void Converter::init()
{
    textsAreKnown.store(true);
    qInfo("Converter is initialized");
}

void Converter::clear()
{
    textsAreKnown.store(false);
    qInfo("Converter is cleared");
}

QString Converter::castPhysicalParameterAsString(const PhysicalParameter& parameter)
{
    const ParameterRow* row = findParameterRow(parameter);
    return row != nullptr ? row->name.toString() : QString();
}

PhysicalParameter Converter::getPhysicalParameterFromString(const QString& text)
{
    if (!textsAreKnown.load(std::memory_order_relaxed))
        return ParameterUnknown;
    const int row = PARAMETER_TEXTS.find(text);
    return row < 0 ? ParameterUnknown : PARAMETERS[static_cast<std::size_t>(row)].parameter;
}

bool Converter::containsPhysicalParameter(const QString& text)
{
    return getPhysicalParameterFromString(text) != ParameterUnknown;
}

UsualUnit Converter::getUsualUnitFromString(const QString& text)
{
    if (text.isEmpty())
        return UnitNone;
    if (!textsAreKnown.load(std::memory_order_relaxed))
        return {};
    const UnitSymbols symbols = readSymbols(text);
    if (symbols.count == 0) [[unlikely]]
        noteUnknownUnit(text);
    // Each operator is read from what is left of the text once the symbols before it, with one separator
    // each, are cut off.
    const auto operatorBehind = [&symbols](qsizetype symbol, qsizetype cut) {
        return symbols.count > symbol ? operatorFrom(cut, symbols.lastPoint, symbols.lastSlash)
                                      : OperatorNone;
    };
    const qsizetype cut = symbols.lengths[0] + 1;
    const qsizetype cut2 = cut + symbols.lengths[1] + 1;
    const auto& units = symbols.units;
    return {units[0], operatorBehind(1, 0),    units[1], operatorBehind(2, cut),
            units[2], operatorBehind(3, cut2), units[3]};
}

bool Converter::containsUsualUnit(const QString& text)
{
    return !getUsualUnitFromString(text).isUnknown();
}

UsualUnitOperator Converter::getOperatorFromString(const QString& text)
{
    if (text == u"MULTIPLY" || text == u".")
        return OperatorMultiply;
    return text == u"DIVIDE" || text == u"/" ? OperatorDivide : OperatorNone;
}

UsualUnitOperator Converter::getOperatorFromStringUnit(const QString& text, int from)
{
    // Clamped because QStringView counts a negative position from the end, and a missing separator is at -1.
    return operatorFrom(std::max(from, 0), QStringView(text).lastIndexOf(u'.'),
                        QStringView(text).lastIndexOf(u'/'));
}

} // namespace vx::datastorage
