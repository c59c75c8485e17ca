#include "heading/Heading.h"

#include "heading/UnitText.h"

#include <algorithm>
#include <array>

namespace vx::cli {
namespace {

using datastorage::UsualUnit;

constexpr std::array TEMPERATURE_WORDS{"temperature", "temp", "temperatur", "thermocouple"};

Heading makeHeading(const QString& text, const QString& name, const QString& unit)
{
    Heading heading;
    heading.text = text;
    heading.name = name.trimmed();
    heading.unitText = unit.trimmed();
    heading.hasUnit = true;
    heading.unit = heading.unitText == QLatin1String("C") && isTemperatureName(heading.name)
                       ? UsualUnit(datastorage::UnitDegreeCelsius)
                       : readUnit(heading.unitText);
    return heading;
}

/// "Voltage [V]": whatever stands in the brackets is the unit.
bool readBrackets(const QString& text, Heading& heading)
{
    const qsizetype open = text.lastIndexOf(QLatin1Char('['));
    if (open <= 0 || !text.endsWith(QLatin1Char(']'))) {
        return false;
    }
    heading = makeHeading(text, text.left(open), text.mid(open + 1).chopped(1));
    return !heading.name.isEmpty();
}

/// "Voltage (V)", but not "Re(Z)": the parentheses must hold a unit.
bool readParentheses(const QString& text, Heading& heading)
{
    const qsizetype open = text.lastIndexOf(QLatin1Char('('));
    if (open <= 0 || !text.endsWith(QLatin1Char(')'))) {
        return false;
    }
    heading = makeHeading(text, text.left(open), text.mid(open + 1).chopped(1));
    return !heading.name.isEmpty() && !heading.unitText.isEmpty() && !heading.unit.isUnknown();
}

/// "Current / mA" with blanks around the slash, or "Frequency/Hz" where a unit follows it.
bool readSlash(const QString& text, Heading& heading)
{
    const qsizetype spaced = text.indexOf(QLatin1String(" / "));
    if (spaced > 0) {
        heading = makeHeading(text, text.left(spaced), text.mid(spaced + 3));
        return true;
    }
    qsizetype slash = text.indexOf(QLatin1Char('/'), 1);
    while (slash > 0 && slash + 1 < text.size()) {
        heading = makeHeading(text, text.left(slash), text.mid(slash + 1));
        if (!heading.name.isEmpty() && !heading.unitText.isEmpty() && !heading.unit.isUnknown()) {
            return true;
        }
        slash = text.indexOf(QLatin1Char('/'), slash + 1);
    }
    return false;
}

/// "voltage_volt": the last one or two words spell a unit; "I_mA": the last word is a symbol.
bool readLastWords(const QString& text, Heading& heading)
{
    QString blanks = text;
    blanks.replace(QLatin1Char('_'), QLatin1Char(' '));
    for (const int words : {2, 1}) {
        const QString last = blanks.section(QLatin1Char(' '), -words);
        if (last.size() >= text.size() || blanks.count(QLatin1Char(' ')) < words) {
            continue;
        }
        QString word = last;
        word.remove(QLatin1Char(' '));
        const UsualUnit unit = readUnitWord(word);
        if (!unit.isUnknown()) {
            heading = makeHeading(text, text.left(text.size() - last.size() - 1), last);
            heading.unit = unit;
            return !heading.name.isEmpty();
        }
    }
    const qsizetype underscore = text.lastIndexOf(QLatin1Char('_'));
    if (underscore <= 0 || underscore + 1 == text.size() || text.at(underscore + 1).isDigit()) {
        return false;
    }
    heading = makeHeading(text, text.left(underscore), text.mid(underscore + 1));
    heading.isTentative = true;
    const bool isWord = heading.unit == UsualUnit(datastorage::UnitDimensionless); // "cycle_count"
    return !heading.unit.isUnknown() && !isWord;
}

} // namespace

Heading readHeading(const QString& text)
{
    const QString whole = text.simplified();
    Heading heading;
    for (const auto read : {readBrackets, readParentheses, readSlash, readLastWords}) {
        if (read(whole, heading)) {
            heading.text = text;
            return heading;
        }
        heading = {};
    }
    heading.text = text;
    heading.name = whole;
    return heading;
}

Heading withoutUnit(const Heading& heading)
{
    Heading bare;
    bare.text = heading.text;
    bare.name = heading.text.simplified();
    return bare;
}

QStringList wordsOf(const QString& name)
{
    QStringList words;
    QString word;
    const auto endWord = [&] {
        if (!word.isEmpty()) {
            words.append(word.toLower());
            word.clear();
        }
    };
    for (qsizetype i = 0; i < name.size(); ++i) {
        const QChar c = name.at(i);
        if (!c.isLetterOrNumber()) {
            endWord();
            continue;
        }
        if (!word.isEmpty()) {
            const QChar before = word.back();
            const bool nextIsLower = i + 1 < name.size() && name.at(i + 1).isLower();
            const bool capitalAfterSmall = c.isUpper() && before.isLower();
            const bool lastOfCapitals = c.isUpper() && before.isUpper() && nextIsLower;
            if (capitalAfterSmall || lastOfCapitals || c.isDigit() != before.isDigit()) {
                endWord();
            }
        }
        word += c;
    }
    endWord();
    return words;
}

bool isTemperatureName(const QString& name)
{
    const QStringList words = wordsOf(name);
    const bool named =
        std::any_of(TEMPERATURE_WORDS.begin(), TEMPERATURE_WORDS.end(),
                    [&words](const char* word) { return words.contains(QLatin1String(word)); });
    // "T", "T1", "T_cell": the symbol of the quantity, which is a capital letter.
    return named || (name.startsWith(QLatin1Char('T')) && !words.isEmpty() && words.front().size() == 1);
}

} // namespace vx::cli
