#include <datastorage/units/LocaleConverter.h>

#include <support/Printers.h>
#include <support/RowLabel.h>

#include <QtCore/QLocale>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

struct LocaleRow
{
    const char* label;
    QLocale::Language language;
    QLocale::Territory territory;
    const char* point;
    const char* grouped;     ///< 1234567.5 with 8 digits
    const char* flat;        ///< -1234.5 with 3 decimals
    const char* xml;         ///< 1234567.125, all 10 digits
    const char* negativeXml; ///< -0.5
};

// The group separator of French is U+202F, of Swiss German U+2019, the minus of Swedish U+2212.
const LocaleRow LOCALES[] = {
    {"C", QLocale::C, QLocale::AnyTerritory, ".", "1234567.5", "-1234.500", "1234567.125", "-0.5"},
    {"UnitedStates", QLocale::English, QLocale::UnitedStates, ".", "1,234,567.5", "-1,234.500", "1234567.125",
     "-0.5"},
    {"Germany", QLocale::German, QLocale::Germany, ",", "1.234.567,5", "-1.234,500", "1234567,125", "-0,5"},
    {"France", QLocale::French, QLocale::France, ",", "1\u202F234\u202F567,5", "-1\u202F234,500",
     "1234567,125", "-0,5"},
    {"Switzerland", QLocale::German, QLocale::Switzerland, ".", "1\u2019234\u2019567.5", "-1\u2019234.500",
     "1234567.125", "-0.5"},
    {"Sweden", QLocale::Swedish, QLocale::Sweden, ",", "1\u00A0234\u00A0567,5",
     "\u2212"
     "1\u00A0234,500",
     "1234567,125",
     "\u2212"
     "0,5"},
    {"India", QLocale::English, QLocale::India, ".", "12,34,567.5", "-1,234.500", "1234567.125", "-0.5"},
};

/// Sets the default locale of the application while it lives.
class DefaultLocale
{
public:
    explicit DefaultLocale(const QLocale& locale) { QLocale::setDefault(locale); }
    ~DefaultLocale() { QLocale::setDefault(m_before); }
    Q_DISABLE_COPY_MOVE(DefaultLocale)

private:
    QLocale m_before;
};

} // namespace

class LocaleTexts : public ::testing::TestWithParam<LocaleRow>
{
protected:
    DefaultLocale m_locale{QLocale(GetParam().language, GetParam().territory)};
};

TEST_P(LocaleTexts, HaveTheDecimalPoint)
{
    EXPECT_EQ(LocaleConverter::getDecimalPoint(), QString::fromUtf8(GetParam().point));
}

TEST_P(LocaleTexts, AreGrouped)
{
    EXPECT_EQ(LocaleConverter::doubleToString(1234567.5, 8), QString::fromUtf8(GetParam().grouped));
    EXPECT_EQ(LocaleConverter::doubleToStringFlat(-1234.5, 3), QString::fromUtf8(GetParam().flat));
}

TEST_P(LocaleTexts, ForXmlAreNotGrouped)
{
    EXPECT_EQ(LocaleConverter::doubleToStringForXml(1234567.125), QString::fromUtf8(GetParam().xml));
    EXPECT_EQ(LocaleConverter::doubleToStringForXml(-0.5), QString::fromUtf8(GetParam().negativeXml));
}

TEST_P(LocaleTexts, AreReadBack)
{
    EXPECT_EQ(LocaleConverter::stringToDouble(QString::fromUtf8(GetParam().grouped)), 1234567.5);
    EXPECT_EQ(LocaleConverter::stringToDouble(QString::fromUtf8(GetParam().flat)), -1234.5);
    EXPECT_EQ(LocaleConverter::stringToDouble(QString::fromUtf8(GetParam().xml)), 1234567.125);
    EXPECT_EQ(LocaleConverter::stringToDouble(QString::fromUtf8(GetParam().negativeXml)), -0.5);
    for (const double value : {0.0, 1.0, -17.25, 0.001, 1e7})
        EXPECT_EQ(LocaleConverter::stringToDouble(LocaleConverter::doubleToString(value, 17)), value);
}

TEST_P(LocaleTexts, ThatAreNoNumberGiveZero)
{
    for (const char* text : {"", "abc", "12x", "1 2 x", "--1"})
        EXPECT_EQ(LocaleConverter::stringToDouble(QString::fromUtf8(text)), 0.0) << text;
}

INSTANTIATE_TEST_SUITE_P(Locales, LocaleTexts, ::testing::ValuesIn(LOCALES), RowLabel());

TEST(LocaleNumbers, ChooseTheShorterNotation)
{
    const DefaultLocale english(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(LocaleConverter::doubleToString(0.0001, 5), QStringLiteral("0.0001"));
    EXPECT_EQ(LocaleConverter::doubleToString(0.00001, 5), QLocale().toString(0.00001, 'g', 5));
    EXPECT_EQ(LocaleConverter::doubleToString(1234567.0, 5).toLower(), QStringLiteral("1.2346e+06"));
    EXPECT_EQ(LocaleConverter::doubleToString(2.5, 2), QStringLiteral("2.5"));
    EXPECT_EQ(LocaleConverter::doubleToStringFlat(1234567.0, 0), QStringLiteral("1,234,567"));
    EXPECT_EQ(LocaleConverter::doubleToStringForXml(12345678901.0).toLower(),
              QStringLiteral("1.23456789e+10"));
}

TEST(LocaleNumbers, FollowTheDefaultLocaleOfTheCall)
{
    {
        const DefaultLocale german(QLocale(QLocale::German, QLocale::Germany));
        EXPECT_EQ(LocaleConverter::stringToDouble(QStringLiteral("1,5")), 1.5);
        EXPECT_EQ(LocaleConverter::stringToDouble(QStringLiteral("1.5")), 15.0);
    }
    const DefaultLocale english(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(LocaleConverter::stringToDouble(QStringLiteral("1,5")), 15.0);
    EXPECT_EQ(LocaleConverter::stringToDouble(QStringLiteral("1.5")), 1.5);
}

TEST(LocaleNumbers, MayHaveAnExponent)
{
    const DefaultLocale german(QLocale(QLocale::German, QLocale::Germany));
    for (const double value : {6.02214e23, -1.5e-12})
        EXPECT_EQ(LocaleConverter::stringToDouble(LocaleConverter::doubleToString(value, 17)), value);
}

TEST(LocaleNumbers, MayHaveGroupSeparatorsAnywhere)
{
    const DefaultLocale english(QLocale(QLocale::English, QLocale::UnitedStates));
    EXPECT_EQ(LocaleConverter::stringToDouble(QStringLiteral(",1,2,34,.5,")), 1234.5);
}

TEST(LocaleNumbers, AreReadInEveryLocaleThereIs)
{
    const QList<QLocale> locales =
        QLocale::matchingLocales(QLocale::AnyLanguage, QLocale::AnyScript, QLocale::AnyTerritory);
    ASSERT_GT(locales.size(), 100);
    for (const QLocale& locale : locales) {
        const DefaultLocale current(locale);
        EXPECT_EQ(LocaleConverter::stringToDouble(LocaleConverter::doubleToStringForXml(1234567.5)),
                  1234567.5)
            << locale.name().toStdString();
    }
}
