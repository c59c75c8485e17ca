#include <datastorage/units/Converter.h>

#include <support/RowLabel.h>
#include <units/UnitFixtures.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <iterator>
#include <random>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

struct ParseRow
{
    const char* label;
    const char* text;
    UsualUnit unit;
};

const ParseRow PARSED[] = {
    {"Empty", "", makeUnit(1)},
    {"None", "None", makeUnit(1)},
    {"Single", "mA", makeUnit(41)},
    {"Percent", "%", makeUnit(151)},
    {"Dimensionless", "-", makeUnit(150)},
    {"Product", "A.h", makeUnit(40, 1, 23)},
    {"Quotient", "W/kg", makeUnit(103, 2, 4)},
    {"Superscripts", "Ω⁻¹/cm²", makeUnit(135, 2, 141)},
    {"ThreeParts", "mA.h/g", makeUnit(41, 1, 23, 2, 2)},
    {"TwoDivisions", "C/V/g", makeUnit(80, 2, 70, 2, 2)},
    {"FourParts", "A.h/V/g", makeUnit(40, 1, 23, 2, 70, 2, 2)},
    {"FifthSymbolIsDropped", "A.h.V.g.C", makeUnit(40, 1, 23, 1, 70, 1, 2)},
    {"PointBehindFourPartsWins", "A/h/V/g.C", makeUnit(40, 1, 23, 1, 70, 1, 2)},
    {"LaterPointWins", "A/s.V", makeUnit(40, 1, 20, 1, 70)},
    {"SlashBehindPoint", "A.s/V", makeUnit(40, 1, 20, 2, 70)},
    {"PointBetweenSlashes", "A/s.V/g", makeUnit(40, 1, 20, 1, 70, 2, 2)},
    {"DoubledPoint", "mA..h", makeUnit(41, 1, 23)},
    {"DoubledSlash", "mA//h", makeUnit(41, 2, 23)},
    {"PointAndSlash", "mA./h", makeUnit(41, 1, 23)},
    {"LeadingPoint", ".mA", makeUnit(41)},
    {"TrailingPoint", "mA.", makeUnit(41)},
    {"TrailingSlash", "mA.h/", makeUnit(41, 1, 23)},
    {"TrailingSlashes", "mA.h/g//", makeUnit(41, 1, 23, 2, 2)},
    {"LeadingSlashesShiftTheCut", "///A/s.V", makeUnit(40, 1, 20, 1, 70)},
    {"NoneAsSecondUnit", "A/None", makeUnit(40, 2, 1)},
    {"NoneAsFirstUnit", "None.A", makeUnit(1, 1, 40)},
    {"SymbolWithSlash", "s^1/2", makeUnit(180)},
    {"ProductWithSymbolWithSlash", "Ω.s^1/2", makeUnit(130, 1, 180)},
    {"QuotientWithSymbolWithSlash", "V/s^1/2", makeUnit(70, 2, 180)},
    {"SymbolWithSlashFirst", "s^1/2.A", makeUnit(180, 1, 40)},
    {"SymbolWithSlashFirstDivided", "s^1/2/A", makeUnit(180, 2, 40)},
    {"SymbolWithSlashTwice", "s^1/2/s^1/2", makeUnit(180, 2, 180)},
    {"SymbolWithSlashThird", "A.h/s^1/2", makeUnit(40, 1, 23, 2, 180)},
    {"SymbolWithSlashThenSeparator", "s^1/2/", makeUnit(180)},
    {"SymbolWithBrackets", "s^(α - 1)", makeUnit(190)},
    {"ProductWithBrackets", "F.s^(α - 1)", makeUnit(90, 1, 190)},
};

struct UnknownRow
{
    const char* label;
    const char* text;
};

const UnknownRow UNKNOWN[] = {
    {"Unknown", "Unknown"},
    {"UnknownInside", "mA.Unknown"},
    {"UnknownSymbol", "xyz"},
    {"UnknownSecondSymbol", "mA.xyz"},
    {"UnknownFifthSymbol", "A.h.V.g.xyz"},
    {"Point", "."},
    {"Slash", "/"},
    {"Separators", "./../"},
    {"LowerCase", "ma"},
    {"UpperCase", "MA"},
    {"LeadingBlank", " mA"},
    {"TrailingBlank", "mA "},
    {"Blank", " "},
    {"Prefix", "mo"},
    {"Longer", "molx"},
    {"Caret", "s^1"},
    {"CaretAndMore", "s^1/2x"},
    {"CaretInside", "ms^1/2"},
    {"CaretCut", "s^1/"},
    {"OtherMicro", "\xCE\xBC"
                   "A"},
    {"OtherOhm", "\xE2\x84\xA6"},
    {"Bracket", "[A]"},
};

/// The reading rules taken one step at a time, for texts without "s^1/2".
UsualUnit parseByTheRules(QString text)
{
    if (text.isEmpty())
        return UnitNone;
    QStringList symbols;
    for (const QString& piece : text.split(u'.', Qt::SkipEmptyParts))
        symbols += piece.split(u'/', Qt::SkipEmptyParts);
    std::array<int, 4> units{};
    for (qsizetype i = 0; i < symbols.size(); ++i) {
        const int unit = UsualUnit::MAPPING_UNIT_STRING.key(symbols[i], UnitUnknown);
        if (unit == 0)
            return {};
        if (i < 4)
            units[static_cast<std::size_t>(i)] = unit;
    }
    const auto operatorOf = [](const QString& rest) {
        return rest.contains(u'.') ? 1 : rest.contains(u'/') ? 2 : 0;
    };
    std::array<int, 3> operators{};
    for (qsizetype i = 0; i < 3 && i + 1 < symbols.size(); ++i) {
        operators[static_cast<std::size_t>(i)] = operatorOf(text);
        text = text.mid(symbols[i].size() + 1);
    }
    return makeUnit(units[0], operators[0], units[1], operators[1], units[2], operators[2], units[3]);
}

} // namespace

class ParsedUnit : public InitializedConverter, public ::testing::WithParamInterface<ParseRow>
{};

TEST_P(ParsedUnit, IsTheExpectedUnit)
{
    const QString text = QString::fromUtf8(GetParam().text);
    EXPECT_EQ(Converter::getUsualUnitFromString(text), GetParam().unit);
    EXPECT_TRUE(Converter::containsUsualUnit(text));
}

INSTANTIATE_TEST_SUITE_P(Texts, ParsedUnit, ::testing::ValuesIn(PARSED), RowLabel());

class UnknownUnitText : public InitializedConverter, public ::testing::WithParamInterface<UnknownRow>
{};

TEST_P(UnknownUnitText, GivesTheUnknownUnit)
{
    const QString text = QString::fromUtf8(GetParam().text);
    EXPECT_EQ(Converter::getUsualUnitFromString(text), UsualUnit());
    EXPECT_FALSE(Converter::containsUsualUnit(text));
}

INSTANTIATE_TEST_SUITE_P(Texts, UnknownUnitText, ::testing::ValuesIn(UNKNOWN), RowLabel());

class UnitTexts : public InitializedConverter
{};

TEST_F(UnitTexts, OfAllSymbolsAreFound)
{
    for (const QStringList& row : readTable("unit_types.csv", 76))
        EXPECT_EQ(Converter::getUsualUnitFromString(row.value(1)), makeUnit(row.value(0).toInt()));
}

TEST_F(UnitTexts, OfMainUnitsAreReadBack)
{
    const QList<UsualUnit> units = Converter::getAvailableUnits();
    ASSERT_EQ(units.size(), 68);
    for (const UsualUnit& unit : units)
        EXPECT_EQ(Converter::getUsualUnitFromString(UsualUnit::castUsualUnitAsString(unit)), unit);
}

TEST_F(UnitTexts, OfEveryOfferedUnitAreReadBack)
{
    qsizetype count = 0;
    for (int parameter = 0; parameter < 68; ++parameter) {
        for (const UsualUnit& unit : Converter::getAvailableUnits(makeParameter(parameter))) {
            ASSERT_EQ(Converter::getUsualUnitFromString(UsualUnit::castUsualUnitAsString(unit)), unit);
            ++count;
        }
    }
    EXPECT_GT(count, 3000);
}

TEST_F(UnitTexts, OfAllPairsAreReadBack)
{
    const QList<UsualUnitType> types = UsualUnit::MAPPING_UNIT_STRING.keys();
    for (const UsualUnitType type1 : types) {
        for (const UsualUnitType type2 : types) {
            if (type1 <= UnitNone || type2 <= UnitNone)
                continue;
            for (const UsualUnitOperator unitOperator : {OperatorMultiply, OperatorDivide}) {
                const UsualUnit unit(type1, unitOperator, type2);
                ASSERT_EQ(Converter::getUsualUnitFromString(UsualUnit::castUsualUnitAsString(unit)), unit);
            }
        }
    }
}

TEST_F(UnitTexts, OfFourPartsAreReadBackWherePointsComeFirst)
{
    constexpr unsigned seed = 20240305;
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const QList<UsualUnitType> types = UsualUnit::MAPPING_UNIT_STRING.keys();
    const auto anyUnit = [&] {
        int unit = 0;
        while (unit <= UnitNone)
            unit = types[static_cast<qsizetype>(random()) % types.size()];
        return unit;
    };
    for (int i = 0; i < 20000; ++i) {
        const auto points = random() % 4;
        const auto operatorAt = [&](std::size_t place) { return place < points ? 1 : 2; };
        const UsualUnit unit =
            makeUnit(anyUnit(), operatorAt(0), anyUnit(), operatorAt(1), anyUnit(), operatorAt(2), anyUnit());
        ASSERT_EQ(Converter::getUsualUnitFromString(UsualUnit::castUsualUnitAsString(unit)), unit);
    }
}

TEST_F(UnitTexts, OfAnyShapeGoByTheRules)
{
    constexpr unsigned seed = 4711;
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937 random(seed);
    const QString pieces[] = {QStringLiteral("."),  QStringLiteral("."),    QStringLiteral("/"),
                              QStringLiteral("/"),  QStringLiteral("A"),    QStringLiteral("mA"),
                              QStringLiteral("h"),  QString::fromUtf8("Ω"), QString::fromUtf8("cm²"),
                              QStringLiteral("-"),  QStringLiteral("None"), QStringLiteral("kg"),
                              QStringLiteral("day")};
    int known = 0;
    for (int i = 0; i < 50000; ++i) {
        QString text;
        for (auto length = random() % 12; length > 0; --length)
            text += pieces[random() % std::size(pieces)];
        const UsualUnit expected = parseByTheRules(text);
        ASSERT_EQ(Converter::getUsualUnitFromString(text), expected) << text.toStdString();
        known += expected.isUnknown() ? 0 : 1;
    }
    EXPECT_GT(known, 5000);
}

TEST_F(UnitTexts, OfGreatLengthAreReadInOneGo)
{
    constexpr qsizetype length = 10'000'000;
    EXPECT_EQ(Converter::getUsualUnitFromString(QString(length, u'x')), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QString(length, u'.')), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QString(length, u'/') + u'A'), makeUnit(40));
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("A.").repeated(length / 2)),
              makeUnit(40, 1, 40, 1, 40, 1, 40));
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("A/").repeated(length / 2) + u'x'),
              UsualUnit());
    EXPECT_EQ(Converter::getPhysicalParameterFromString(QString(length, u'M')), ParameterUnknown);
}

TEST_F(UnitTexts, WithNulOrBrokenCharactersAreUnknown)
{
    EXPECT_EQ(Converter::getUsualUnitFromString(QString(1, QChar(0))), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("mA") + QChar(0)), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("mA.") + QChar(0) + u'h'), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("mA") + QChar(0) + QStringLiteral(".h")),
              UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QString(1, QChar(0xD800))), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QString::fromUtf8("m\xFF"
                                                                  "A")),
              UsualUnit());
}

TEST(UnitTextsBeforeInit, AreUnknownExceptTheEmptyOne)
{
    Converter::clear();
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("mA")), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("None")), UsualUnit());
    EXPECT_EQ(Converter::getUsualUnitFromString(QString()), UsualUnit(UnitNone));
    EXPECT_TRUE(Converter::containsUsualUnit(QStringLiteral("")));
    EXPECT_FALSE(Converter::containsUsualUnit(QStringLiteral("mA")));
    EXPECT_EQ(Converter::getPhysicalParameterFromString(QStringLiteral("Voltage")), ParameterUnknown);
    EXPECT_FALSE(Converter::containsPhysicalParameter(QStringLiteral("Voltage")));
    EXPECT_EQ(Converter::getOperatorFromString(QStringLiteral("MULTIPLY")), OperatorMultiply)
        << "operators need no table";
}

TEST(UnitTextsBeforeInit, BecomeKnownAndUnknownAgain)
{
    Converter::init();
    Converter::init();
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("mA")), makeUnit(41));
    Converter::clear();
    EXPECT_EQ(Converter::getUsualUnitFromString(QStringLiteral("mA")), UsualUnit());
    Converter::clear();
    Converter::init();
    EXPECT_EQ(Converter::getPhysicalParameterFromString(QStringLiteral("Voltage")), makeParameter(9));
    Converter::clear();
}

class ParameterTexts : public InitializedConverter
{};

TEST_F(ParameterTexts, OfAllParametersAreFound)
{
    for (const QStringList& row : readTable("physical_parameters.csv", 68)) {
        SCOPED_TRACE(row.join(u' ').toStdString());
        const int number = row.value(0).toInt();
        EXPECT_EQ(Converter::getPhysicalParameterFromString(row.value(1)), makeParameter(number));
        EXPECT_EQ(Converter::containsPhysicalParameter(row.value(1)), number != 0);
    }
}

TEST_F(ParameterTexts, AreExact)
{
    for (const char* text : {"", "SqrtTime", "TimePowerAlpha", "voltage", "VOLTAGE", " Voltage", "Voltage ",
                             "Volt", "Voltages", "Electric Charge", "unknown", "68", "Ratio\n"}) {
        EXPECT_EQ(Converter::getPhysicalParameterFromString(QString::fromUtf8(text)), ParameterUnknown)
            << text;
        EXPECT_FALSE(Converter::containsPhysicalParameter(QString::fromUtf8(text))) << text;
    }
    EXPECT_EQ(Converter::getPhysicalParameterFromString(QStringLiteral("Voltage") + QChar(0)),
              ParameterUnknown);
    EXPECT_EQ(Converter::getPhysicalParameterFromString(QStringLiteral("Sqrt Time")), makeParameter(35));
}

TEST(OperatorTexts, AreExact)
{
    EXPECT_EQ(Converter::getOperatorFromString(QStringLiteral("MULTIPLY")), OperatorMultiply);
    EXPECT_EQ(Converter::getOperatorFromString(QStringLiteral(".")), OperatorMultiply);
    EXPECT_EQ(Converter::getOperatorFromString(QStringLiteral("DIVIDE")), OperatorDivide);
    EXPECT_EQ(Converter::getOperatorFromString(QStringLiteral("/")), OperatorDivide);
    for (const char* text : {"", "multiply", "Divide", "..", "./", "*", "MULTIPLY ", " ", "1"})
        EXPECT_EQ(Converter::getOperatorFromString(QString::fromUtf8(text)), OperatorNone) << text;
}

TEST(OperatorTexts, InAUnitAreThoseFromAPlaceOn)
{
    const QString text = QStringLiteral("mA.h/g");
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 0), OperatorMultiply);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 2), OperatorMultiply);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 3), OperatorDivide);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 4), OperatorDivide);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 5), OperatorNone);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 6), OperatorNone);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, 2147483647), OperatorNone);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(text, -1), OperatorMultiply);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(QStringLiteral("A/s.V"), 0), OperatorMultiply);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(QStringLiteral("A"), -1), OperatorNone);
    EXPECT_EQ(Converter::getOperatorFromStringUnit(QString(), 0), OperatorNone);
}

namespace {

QList<QPair<QtMsgType, QString>> messages;

void keepMessage(QtMsgType type, const QMessageLogContext& /*context*/, const QString& text)
{
    messages.append({type, text});
}

} // namespace

TEST(ConverterLog, SaysWhenTextsBecomeKnownAndUnknown)
{
    messages.clear();
    const QtMessageHandler before = qInstallMessageHandler(keepMessage);
    Converter::init();
    Converter::init();
    Converter::clear();
    qInstallMessageHandler(before);
    const QPair<QtMsgType, QString> initialized(QtInfoMsg, QStringLiteral("Converter is initialized"));
    const QPair<QtMsgType, QString> cleared(QtInfoMsg, QStringLiteral("Converter is cleared"));
    EXPECT_TRUE((messages == QList{initialized, initialized, cleared}));
}

class ConcurrentTexts : public InitializedConverter
{
protected:
    /// Runs `look` on four threads, `rounds` times each, while this thread does `meanwhile` until all are
    /// done; returns how often `look` was not satisfied.
    template <typename Look, typename Meanwhile>
    static int countFailures(int rounds, Look look, Meanwhile meanwhile)
    {
        std::atomic<int> failures{0};
        std::atomic<int> running{4};
        std::vector<std::thread> threads;
        threads.reserve(4);
        for (int thread = 0; thread < 4; ++thread) {
            threads.emplace_back([&, thread] {
                for (int round = 0; round < rounds; ++round) {
                    if (!look(thread * rounds + round))
                        ++failures;
                }
                --running;
            });
        }
        while (running > 0)
            meanwhile();
        for (std::thread& thread : threads)
            thread.join();
        return failures;
    }
};

TEST_F(ConcurrentTexts, AreFoundOnEveryThread)
{
    const auto look = [](int round) {
        return Converter::getUsualUnitFromString(QStringLiteral("mA.h/g")) == makeUnit(41, 1, 23, 2, 2) &&
               Converter::getPhysicalParameterFromString(QStringLiteral("Voltage")) == makeParameter(9) &&
               !Converter::containsUsualUnit(QString::number(round));
    };
    EXPECT_EQ(countFailures(5000, look, [] { std::this_thread::yield(); }), 0);
}

TEST_F(ConcurrentTexts, AreKnownOrUnknownWhileTheTablesComeAndGo)
{
    const auto look = [](int /*round*/) {
        const UsualUnit unit = Converter::getUsualUnitFromString(QStringLiteral("mA.h/g"));
        return unit == makeUnit(41, 1, 23, 2, 2) || unit == UsualUnit();
    };
    const QtMessageHandler before =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const int failures = countFailures(5000, look, [] {
        Converter::clear();
        Converter::init();
    });
    qInstallMessageHandler(before);
    EXPECT_EQ(failures, 0);
}
