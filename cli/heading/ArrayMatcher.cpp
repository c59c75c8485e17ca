#include "heading/ArrayMatcher.h"

#include "heading/UnitText.h"

#include <array>
#include <utility>

namespace vx::cli {
namespace {

struct Synonym
{
    const char* word;
    const char* concept_;
};

/// Words that mean the same quantity, in lower case.
constexpr std::array SYNONYM_WORDS{
    Synonym{"time", "time"},
    Synonym{"timestamp", "time"},
    Synonym{"duration", "time"},
    Synonym{"voltage", "voltage"},
    Synonym{"potential", "voltage"},
    Synonym{"ewe", "voltage"},
    Synonym{"ecell", "voltage"},
    Synonym{"ocv", "voltage"},
    Synonym{"current", "current"},
    Synonym{"charge", "charge"},
    Synonym{"capacity", "charge"},
    Synonym{"ah", "charge"},
    Synonym{"mah", "charge"},
    Synonym{"energy", "energy"},
    Synonym{"wh", "energy"},
    Synonym{"mwh", "energy"},
    Synonym{"power", "power"},
    Synonym{"temperature", "temperature"},
    Synonym{"temp", "temperature"},
    Synonym{"thermocouple", "temperature"},
    Synonym{"cycle", "cycle"},
    Synonym{"cycles", "cycle"},
    Synonym{"step", "step"},
    Synonym{"steps", "step"},
    Synonym{"frequency", "frequency"},
    Synonym{"freq", "frequency"},
    Synonym{"soc", "soc"},
    Synonym{"phase", "phase"},
    Synonym{"phi", "phase"},
    Synonym{"resistance", "resistance"},
};

/// Symbols and fixed expressions that are a whole name, exactly as they are written.
constexpr std::array SYNONYM_NAMES{
    Synonym{"t", "time"},
    Synonym{"T", "temperature"},
    Synonym{"E", "voltage"},
    Synonym{"U", "voltage"},
    Synonym{"V", "voltage"},
    Synonym{"I", "current"},
    Synonym{"i", "current"},
    Synonym{"Q", "charge"},
    Synonym{"q", "charge"},
    Synonym{"P", "power"},
    Synonym{"f", "frequency"},
    Synonym{"SoC", "soc"},
    Synonym{"State of charge", "soc"},
    Synonym{"State of Charge", "soc"},
    Synonym{"state_of_charge", "soc"},
    Synonym{"Re(Z)", "z real"},
    Synonym{"ReZ", "z real"},
    Synonym{"Re Z", "z real"},
    Synonym{"Z'", "z real"},
    Synonym{"Zre", "z real"},
    Synonym{"Zreal", "z real"},
    Synonym{"Z_real", "z real"},
    Synonym{"-Im(Z)", "z minus imaginary"},
    Synonym{"-ImZ", "z minus imaginary"},
    Synonym{"-Im Z", "z minus imaginary"},
    Synonym{"-Z''", "z minus imaginary"},
    Synonym{"-Z\"", "z minus imaginary"},
    Synonym{"-Zim", "z minus imaginary"},
    Synonym{"-Zimag", "z minus imaginary"},
    Synonym{"Im(Z)", "z imaginary"},
    Synonym{"ImZ", "z imaginary"},
    Synonym{"Im Z", "z imaginary"},
    Synonym{"Z''", "z imaginary"},
    Synonym{"Z\"", "z imaginary"},
    Synonym{"Zim", "z imaginary"},
    Synonym{"Zimag", "z imaginary"},
    Synonym{"Z_imag", "z imaginary"},
    Synonym{"|Z|", "z modulus"},
    Synonym{"Z", "z modulus"},
    Synonym{"Zmod", "z modulus"},
    Synonym{"Phase(Z)", "phase"},
    Synonym{"φ", "phase"},
};

/// Words behind the quantity that do not change it: "cycle_count", "Step Index".
constexpr std::array FILLERS{"count", "index", "number", "no", "id", "value"};

template <std::size_t N>
QString conceptIn(const std::array<Synonym, N>& synonyms, const QString& text)
{
    for (const Synonym& synonym : synonyms) {
        if (text == QString::fromUtf8(synonym.word)) {
            return QString::fromUtf8(synonym.concept_);
        }
    }
    return {};
}

bool isNumber(const QString& word)
{
    return !word.isEmpty() && word.front().isDigit();
}

bool isFiller(const QString& word)
{
    for (const char* filler : FILLERS) {
        if (word == QLatin1String(filler)) {
            return true;
        }
    }
    return false;
}

QString withoutTrailingNumber(QString name)
{
    while (!name.isEmpty() &&
           (name.back().isDigit() || name.back().isSpace() || name.back() == QLatin1Char('_'))) {
        name.chop(1);
    }
    return name;
}

QStringList wordsWithoutTrailingNumbers(const QString& name)
{
    QStringList words = wordsOf(name);
    while (words.size() > 1 && isNumber(words.back())) {
        words.removeLast();
    }
    return words;
}

/// What each word of a name means; a word without synonyms means itself.
QStringList conceptsOf(const QStringList& words)
{
    QStringList concepts;
    for (const QString& word : words) {
        const QString known = conceptIn(SYNONYM_WORDS, word);
        if (!known.isEmpty() || (word.size() > 1 && !isNumber(word) && !isFiller(word))) {
            concepts.append(known.isEmpty() ? word : known);
        }
    }
    return concepts;
}

/// What a symbol or fixed expression means; empty for an ordinary name.
QString symbolConcept(const QString& name)
{
    QString known = conceptIn(SYNONYM_NAMES, name);
    return known.isEmpty() ? conceptIn(SYNONYM_NAMES, withoutTrailingNumber(name)) : known;
}

/// What a name as a whole means: its symbol, or its last word, which names the quantity in English.
QString conceptOf(const QString& name)
{
    QString symbol = symbolConcept(name);
    if (!symbol.isEmpty()) {
        return symbol;
    }
    const QStringList concepts = conceptsOf(wordsOf(name));
    return concepts.isEmpty() ? QString() : concepts.back();
}

bool startsWithMinus(const QString& name)
{
    return name.startsWith(QLatin1Char('-'));
}

} // namespace

int nameCloseness(const QString& heading, const QString& declared)
{
    if (QString::compare(heading, declared, Qt::CaseInsensitive) == 0) {
        // "T" and "t" are two quantities.
        return heading.size() > 1 || heading == declared ? 5 : 0;
    }
    if (heading.isEmpty() || declared.isEmpty() || startsWithMinus(heading) != startsWithMinus(declared)) {
        return 0;
    }
    const bool isSymbol = !symbolConcept(heading).isEmpty();
    const QStringList words = wordsWithoutTrailingNumbers(heading);
    if (!isSymbol && symbolConcept(declared).isEmpty() && words == wordsWithoutTrailingNumbers(declared)) {
        return 4;
    }
    const QString wanted = conceptOf(declared);
    if (wanted.isEmpty()) {
        return 0;
    }
    if (conceptOf(heading) == wanted) {
        return 3;
    }
    return !isSymbol && conceptsOf(words).contains(wanted) ? 2 : 0;
}

ArrayMatcher::ArrayMatcher(QList<datastorage::ConfigDataArray*> declared) : m_declared(std::move(declared)) {}

const datastorage::ConfigDataArray* ArrayMatcher::match(Heading& heading) const
{
    if (heading.isTentative) {
        const datastorage::ConfigDataArray* found = closest(heading);
        if (found != nullptr) {
            return found;
        }
        heading = withoutUnit(heading);
    }
    return closest(heading);
}

const datastorage::ConfigDataArray* ArrayMatcher::closest(const Heading& heading) const
{
    const datastorage::ConfigDataArray* best = nullptr;
    int bestCloseness = 0;
    for (const datastorage::ConfigDataArray* declared : m_declared) {
        if (heading.hasUnit && !isUnitOf(heading.unit, declared->getPhysicalParameter())) {
            continue;
        }
        const int closeness = nameCloseness(heading.name, declared->getName());
        if (closeness > bestCloseness) {
            bestCloseness = closeness;
            best = declared;
        }
    }
    return best;
}

} // namespace vx::cli
