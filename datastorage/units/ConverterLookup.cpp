#include <datastorage/units/Converter.h>
#include <datastorage/units/ParameterTables_p.h>
#include <datastorage/units/TextTable_p.h>
#include <datastorage/units/UnitTables_p.h>

#include <QtCore/QtDebug>

#include <algorithm>
#include <array>
#include <atomic>
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
constexpr QStringView SYMBOL_WITH_SEPARATOR = findUnitRow(UnitSquareRootSecond)->symbol;
static_assert(std::ranges::count_if(UNITS, hasSeparator, &UnitRow::symbol) == 1);
static_assert(hasSeparator(SYMBOL_WITH_SEPARATOR));

/// Where the symbol that starts at `from` ends: at the next separator or at the end of the text.
qsizetype findSymbolEnd(QStringView text, qsizetype from)
{
    const qsizetype wholeEnd = from + SYMBOL_WITH_SEPARATOR.size();
    if (text.sliced(from).startsWith(SYMBOL_WITH_SEPARATOR) &&
        (wholeEnd == text.size() || isSeparator(text[wholeEnd])))
        return wholeEnd;
    const auto* const end = std::find_if(text.begin() + from, text.end(), isSeparator);
    return end - text.begin();
}

/// The operator read from the part of a text that starts at `from`, given the last separators of the text.
UsualUnitOperator operatorFrom(qsizetype from, qsizetype lastPoint, qsizetype lastSlash)
{
    if (lastPoint >= from)
        return OperatorMultiply;
    return lastSlash >= from ? OperatorDivide : OperatorNone;
}

/// The symbols of a printed unit: the units and lengths of the first four, and how many there are in all. A
/// count of 0 stands for a text without symbols or with an unknown one.
struct Symbols
{
    std::array<UsualUnitType, 4> units{};
    std::array<qsizetype, 4> lengths{};
    qsizetype count = 0;
};

Symbols readSymbols(QStringView text)
{
    Symbols symbols;
    for (qsizetype position = 0; position < text.size();) {
        const qsizetype end = findSymbolEnd(text, position);
        if (end > position) {
            const int row = UNIT_TEXTS.find(text.sliced(position, end - position));
            const UsualUnitType unit = row < 0 ? UnitUnknown : UNITS[static_cast<std::size_t>(row)].unit;
            if (unit == UnitUnknown)
                return {};
            if (symbols.count < 4) {
                const auto place = static_cast<std::size_t>(symbols.count);
                symbols.units[place] = unit;
                symbols.lengths[place] = end - position;
            }
            ++symbols.count;
        }
        position = end + 1;
    }
    return symbols;
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
    const Symbols symbols = readSymbols(text);
    if (symbols.count < 2)
        return symbols.units[0];
    // Each operator is read from what is left of the text once the symbols before it, with one separator
    // each, are cut off.
    const QStringView view(text);
    const qsizetype lastPoint = view.lastIndexOf(u'.');
    const qsizetype lastSlash = view.lastIndexOf(u'/');
    const qsizetype cut = symbols.lengths[0] + 1;
    const qsizetype cut2 = cut + symbols.lengths[1] + 1;
    const auto& units = symbols.units;
    const auto unitOperator = operatorFrom(0, lastPoint, lastSlash);
    const auto unitOperator2 = symbols.count > 2 ? operatorFrom(cut, lastPoint, lastSlash) : OperatorNone;
    const auto unitOperator3 = symbols.count > 3 ? operatorFrom(cut2, lastPoint, lastSlash) : OperatorNone;
    return {units[0], unitOperator, units[1], unitOperator2, units[2], unitOperator3, units[3]};
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
