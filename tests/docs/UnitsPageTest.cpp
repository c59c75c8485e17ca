#include <datastorage/units/Converter.h>

#include <docs/DocsPage.h>

#include <QtCore/QFile>
#include <QtCore/QStringList>

#include <gtest/gtest.h>

#include <cstdint>
#include <tuple>

using namespace vx::datastorage;

namespace {

const QString begin = "<!-- parameters: begin -->\n";
const QString end = "<!-- parameters: end -->\n";

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

} // namespace

/// With the environment variable VXDATASTORAGE_WRITE_DOCS the page is written instead, see scripts/docs.sh.
TEST(UnitsPage, ListsTheParametersAsTheLibraryHasThem)
{
    QString page = readPage("units.md");
    const qsizetype from = page.indexOf(begin);
    const qsizetype to = page.indexOf(end);
    ASSERT_GE(from, 0) << "no page, or no place for the table in it";
    ASSERT_GT(to, from);
    const qsizetype first = from + begin.size();
    const QString expected = parameterTable();
    ASSERT_GT(expected.count('\n'), 60);

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
