#include <datastorage/config/ConfigDataArray.h>

#include <support/Printers.h>

#include <QtCore/QJsonObject>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

using namespace vx::datastorage;

static_assert(std::is_base_of_v<DataArrayIdentifier, ConfigDataArray>);
static_assert(std::is_same_v<std::underlying_type_t<DataConfigType>, std::int32_t>);
static_assert(Measured == 0 && Calculated == 1);

TEST(ConfigDataArray, StartsAsAMeasuredFloatArrayOfNothing)
{
    const ConfigDataArray array;
    EXPECT_EQ(array.getName(), "");
    EXPECT_EQ(array.getCategory(), "");
    EXPECT_EQ(static_cast<int>(array.getPhysicalParameter()), 1);
    EXPECT_EQ(static_cast<int>(array.getType()), 0);
    EXPECT_EQ(array.getUnit(), UsualUnit(UnitNone));
    EXPECT_EQ(static_cast<int>(array.getDataConfigType()), 0);
    EXPECT_FALSE(array.isCalculated());
    EXPECT_FALSE(array.isDefaultX());
    EXPECT_FALSE(array.isDefaultY1());
    EXPECT_FALSE(array.isDefaultY2());
    EXPECT_TRUE(array.getCalculationMethod().isNull());
    EXPECT_TRUE(array.getConvertFormat().isNull());
}

TEST(ConfigDataArray, TakesWhatItsConstructorIsGiven)
{
    const UsualUnit unit(UnitMilliampere, OperatorMultiply, UnitHour);
    const ConfigDataArray array("Charge", ParameterElectricCharge, Int, unit, "Cell", Calculated);
    EXPECT_EQ(array.getName(), "Charge");
    EXPECT_EQ(array.getCategory(), "Cell");
    EXPECT_EQ(array.getPhysicalParameter(), ParameterElectricCharge);
    EXPECT_EQ(array.getType(), Int);
    EXPECT_EQ(array.getUnit(), unit);
    EXPECT_EQ(array.getDataConfigType(), Calculated);
    EXPECT_TRUE(array.isCalculated());
    EXPECT_FALSE(array.isDefaultX() || array.isDefaultY1() || array.isDefaultY2());
    EXPECT_TRUE(array.getCalculationMethod().isNull());
    EXPECT_TRUE(array.getConvertFormat().isNull());
}

TEST(ConfigDataArray, KeepsWhatItsSettersAreGiven)
{
    ConfigDataArray array;
    array.setName("Voltage");
    array.setCategory("Cell");
    array.setPhysicalParameter(ParameterVoltage);
    array.setType(Enum);
    array.setUnit(UnitMillivolt);
    array.setCalculationMethod("U1 - U2");
    array.setConvertFormat("hms (s)");
    EXPECT_EQ(array.getName(), "Voltage");
    EXPECT_EQ(array.getCategory(), "Cell");
    EXPECT_EQ(array.getPhysicalParameter(), ParameterVoltage);
    EXPECT_EQ(array.getType(), Enum);
    EXPECT_EQ(array.getUnit(), UsualUnit(UnitMillivolt));
    EXPECT_EQ(array.getCalculationMethod(), "U1 - U2");
    EXPECT_EQ(array.getConvertFormat(), "hms (s)");
}

TEST(ConfigDataArray, DefaultAxesAreIndependentOfEachOther)
{
    ConfigDataArray array;
    array.setDefaultX(true);
    EXPECT_TRUE(array.isDefaultX() && !array.isDefaultY1() && !array.isDefaultY2());
    array.setDefaultX(false);
    array.setDefaultY1(true);
    EXPECT_TRUE(!array.isDefaultX() && array.isDefaultY1() && !array.isDefaultY2());
    array.setDefaultY1(false);
    array.setDefaultY2(true);
    EXPECT_TRUE(!array.isDefaultX() && !array.isDefaultY1() && array.isDefaultY2());
}

TEST(ConfigDataArray, IsCalculatedForThatKindAlone)
{
    ConfigDataArray array;
    for (const int kind : {0, 1, 2, 3, -1, 257}) {
        array.setDataConfigType(static_cast<DataConfigType>(kind));
        EXPECT_EQ(static_cast<int>(array.getDataConfigType()), kind);
        EXPECT_EQ(array.isCalculated(), kind == 1) << kind;
    }
}

TEST(ConfigDataArray, CopiesAreIndependent)
{
    ConfigDataArray source("Voltage", ParameterVoltage, Float, UnitVolt, "Cell", Calculated);
    source.setDefaultY2(true);
    source.setCalculationMethod("method");
    source.setConvertFormat("format");
    const ConfigDataArray constructed(source);
    ConfigDataArray assigned;
    assigned = source;
    for (ConfigDataArray copy : {constructed, assigned}) {
        EXPECT_EQ(copy.getName(), "Voltage");
        EXPECT_EQ(copy.getCategory(), "Cell");
        EXPECT_EQ(copy.getPhysicalParameter(), ParameterVoltage);
        EXPECT_EQ(copy.getUnit(), UsualUnit(UnitVolt));
        EXPECT_TRUE(copy.isCalculated());
        EXPECT_TRUE(copy.isDefaultY2());
        EXPECT_EQ(copy.getCalculationMethod(), "method");
        EXPECT_EQ(copy.getConvertFormat(), "format");
        copy.setUnit(UnitMillivolt);
        copy.setName("other");
    }
    EXPECT_EQ(source.getName(), "Voltage");
    EXPECT_EQ(source.getUnit(), UsualUnit(UnitVolt));
}

TEST(ConfigDataArray, SavesNameAndCategoryOnly)
{
    vx::archive::ArchiveContext context;
    const ConfigDataArray source("Voltage", ParameterVoltage, Int, UnitVolt, "Cell", Calculated);
    QJsonObject object;
    EXPECT_TRUE(source.write(object, 1, context));
    EXPECT_EQ(object, (QJsonObject{{"name", "Voltage"}, {"category", "Cell"}}));
    ConfigDataArray read;
    EXPECT_TRUE(read.read(object, 1, context));
    EXPECT_EQ(read.getName(), "Voltage");
    EXPECT_EQ(read.getCategory(), "Cell");
    EXPECT_EQ(read.getPhysicalParameter(), ParameterNone);
    EXPECT_FALSE(read.isCalculated());
}

struct PrefixCase
{
    const char* label;
    QString format;
    std::string prefix;
};

class ConvertFormatPrefix : public testing::TestWithParam<PrefixCase>
{};

TEST_P(ConvertFormatPrefix, EndsBeforeTheFirstParenthesis)
{
    ConfigDataArray array;
    array.setConvertFormat(GetParam().format);
    EXPECT_EQ(array.getConvertFormatAsPrefix(), GetParam().prefix);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ConvertFormatPrefix,
    testing::Values(PrefixCase{"Null", QString(), ""}, PrefixCase{"Empty", "", ""},
                    PrefixCase{"Whole", "hms", "hms"}, PrefixCase{"AtTheStart", "(hms)", ""},
                    PrefixCase{"Behind", "hms(s)", "hms"}, PrefixCase{"BlankBefore", "hms (s)", "hms "},
                    PrefixCase{"BlanksInFront", "  hms", "  hms"}, PrefixCase{"Two", "a(b)c(d)", "a"},
                    PrefixCase{"Closing", "a)b", "a)b"},
                    PrefixCase{"BeyondAscii", QString::fromUtf8("\xC2\xB5s(\xCE\xA9)"), "\xC2\xB5s"},
                    PrefixCase{"WideParenthesis", QString(QChar(0xFF08)), "\xEF\xBC\x88"}),
    [](const auto& row) { return std::string(row.param.label); });

} // namespace
