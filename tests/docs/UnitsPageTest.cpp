#include <datastorage/units/Converter.h>

#include <docs/DocsPage.h>
#include <support/RowLabel.h>

#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>

using namespace vx::datastorage;

namespace {

QString symbolOf(UsualUnitOperator unitOperator)
{
    return unitOperator == OperatorMultiply ? " × " : " / ";
}

/// "Electric Current × Time / Mass"
QString printed(const SubPhysicalParameters& parts)
{
    const auto& [first, operator1, second, operator2, third, operator3, fourth] = parts;
    QString text = Converter::castPhysicalParameterAsString(first);
    if (operator1 != OperatorNone)
        text += symbolOf(operator1) + Converter::castPhysicalParameterAsString(second);
    if (operator2 != OperatorNone)
        text += symbolOf(operator2) + Converter::castPhysicalParameterAsString(third);
    if (operator3 != OperatorNone)
        text += symbolOf(operator3) + Converter::castPhysicalParameterAsString(fourth);
    return text;
}

QString unitsOf(PhysicalParameter parameter)
{
    QStringList texts;
    for (const UsualUnit& unit : Converter::getSingleUnits(parameter))
        texts += '`' + UsualUnit::castUsualUnitAsString(unit) + '`';
    return texts.join(' ');
}

QString compositionOf(PhysicalParameter parameter)
{
    QStringList texts;
    for (const SubPhysicalParameters& parts : Converter::getSubPhysicalParameters(parameter))
        texts += printed(parts);
    return texts.join("; ");
}

/// The table of the page as the library has it.
QString parameterTable()
{
    QString table = "| No. | parameter | main unit | elementary units, smallest first | composed of |\n"
                    "|---|---|---|---|---|\n";
    for (std::int32_t number = 0;; ++number) {
        const auto parameter = static_cast<PhysicalParameter>(number);
        const QString name = Converter::castPhysicalParameterAsString(parameter);
        if (name.isEmpty())
            return table;
        const QString unit = UsualUnit::castUsualUnitAsString(Converter::getMainUnit(parameter));
        table += QString("| %1 | %2 | `%3` | %4 | %5 |\n")
                     .arg(QString::number(number), name, unit, unitsOf(parameter), compositionOf(parameter));
    }
}

/// Every elementary unit with a factor, by quantity and size.
QString unitTable()
{
    QString table = "| No. | unit | measures | 1 main unit is |\n"
                    "|---|---|---|---|\n";
    for (std::int32_t number = ParameterNone + 1;; ++number) {
        const auto parameter = static_cast<PhysicalParameter>(number);
        const QString name = Converter::castPhysicalParameterAsString(parameter);
        if (name.isEmpty())
            return table;
        for (const UsualUnit& unit : Converter::getSingleUnits(parameter)) {
            const float factor = Converter::getConversionFactorFromMainUnitToSubUnit(parameter, unit);
            const QString symbol = UsualUnit::castUsualUnitAsString(unit);
            table += QString("| %1 | `%2` | %3 | %4 `%2` |\n")
                         .arg(QString::number(unit.getUnit1()), symbol, name,
                              QString::number(static_cast<double>(factor), 'g', 7));
        }
    }
}

struct PageTable
{
    const char* label;
    QString (*text)();
    int minimumRows;
};

const PageTable TABLES[] = {
    {"parameters", parameterTable, 60},
    {"units", unitTable, 60},
};

} // namespace

class UnitsPage : public testing::TestWithParam<PageTable>
{
protected:
    void SetUp() override { Converter::init(); }
};

INSTANTIATE_TEST_SUITE_P(Tables, UnitsPage, testing::ValuesIn(TABLES), RowLabel{});

/// With the environment variable VXDATASTORAGE_WRITE_DOCS the page is written instead, see scripts/docs.sh.
TEST_P(UnitsPage, ListsWhatTheLibraryHas)
{
    const QString begin = QString("<!-- %1: begin -->\n").arg(GetParam().label);
    const QString end = QString("<!-- %1: end -->\n").arg(GetParam().label);
    QString page = readPage("units.md");
    const qsizetype from = page.indexOf(begin);
    const qsizetype to = page.indexOf(end);
    ASSERT_GE(from, 0) << "no page, or no place for the table in it";
    ASSERT_GT(to, from);
    const qsizetype first = from + begin.size();
    const QString expected = GetParam().text();
    ASSERT_GT(expected.count('\n'), GetParam().minimumRows);

    if (qEnvironmentVariableIsSet("VXDATASTORAGE_WRITE_DOCS")) {
        page.replace(first, to - first, expected);
        QFile file(VXDATASTORAGE_DOCS_DIR "/units.md");
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_GT(file.write(page.toUtf8()), 0);
        return;
    }
    EXPECT_EQ(page.mid(first, to - first).toStdString(), expected.toStdString())
        << "run scripts/docs.sh tables";
}
