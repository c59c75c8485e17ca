#include <datastorage/arrays/DataType.h>

#include <support/Printers.h>
#include <support/RowLabel.h>

#include <bit>
#include <cstdint>
#include <type_traits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

struct NameRow
{
    const char* label;
    int number;
    const char* text;
};

const NameRow NAMES[] = {
    {"Float", 0, "FLOAT"},
    {"Int", 1, "INT"},
    {"Enum", 2, "ENUM"},
};

const NameRow NUMBERS_OUT_OF_RANGE[] = {
    {"Three", 3, "FLOAT"},
    {"Seven", 7, "FLOAT"},
    {"MinusOne", -1, "FLOAT"},
    {"Largest", 2147483647, "FLOAT"},
    {"Smallest", -2147483647 - 1, "FLOAT"},
};

struct TextRow
{
    const char* label;
    const char* text;
};

const TextRow UNKNOWN_TEXTS[] = {
    {"Empty", ""},           {"LowerCase", "float"},   {"MixedCase", "Int"},
    {"LowerEnum", "enum"},   {"LeadingBlank", " INT"}, {"TrailingBlank", "ENUM "},
    {"Prefix", "FLOA"},      {"Longer", "FLOATS"},     {"Number", "1"},
    {"OtherWord", "DOUBLE"},
};

} // namespace

class DataTypeNames : public ::testing::TestWithParam<NameRow>
{};

TEST_P(DataTypeNames, NumberGivesText)
{
    EXPECT_EQ(getDataTypeAsString(static_cast<DataType>(GetParam().number)), QString(GetParam().text));
}

TEST_P(DataTypeNames, TextGivesNumberAndIsValid)
{
    EXPECT_EQ(static_cast<int>(getDataTypeFromString(GetParam().text)), GetParam().number);
    EXPECT_TRUE(isValidType(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Known, DataTypeNames, ::testing::ValuesIn(NAMES), RowLabel{});

class DataTypeOutOfRange : public ::testing::TestWithParam<NameRow>
{};

TEST_P(DataTypeOutOfRange, ReadsAsFloat)
{
    EXPECT_EQ(getDataTypeAsString(static_cast<DataType>(GetParam().number)), QString(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Numbers, DataTypeOutOfRange, ::testing::ValuesIn(NUMBERS_OUT_OF_RANGE), RowLabel{});

class DataTypeUnknownText : public ::testing::TestWithParam<TextRow>
{};

TEST_P(DataTypeUnknownText, GivesFloatAndIsNotValid)
{
    EXPECT_EQ(getDataTypeFromString(GetParam().text), Float);
    EXPECT_FALSE(isValidType(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Texts, DataTypeUnknownText, ::testing::ValuesIn(UNKNOWN_TEXTS), RowLabel{});

TEST(DataType, ANullTextIsNoType)
{
    EXPECT_EQ(getDataTypeFromString(QString()), Float);
    EXPECT_FALSE(isValidType(QString()));
}

TEST(DataType, IsA32BitSignedEnumeration)
{
    static_assert(std::is_same_v<std::underlying_type_t<DataType>, std::int32_t>);
    static_assert(std::is_convertible_v<DataType, int>, "the enumeration is unscoped");
    EXPECT_EQ(DataType::Float, 0);
    EXPECT_EQ(DataType::Int, 1);
    EXPECT_EQ(DataType::Enum, 2);
}

TEST(DataTypeBase, HoldsTheSame32BitsUnderBothMembers)
{
    static_assert(sizeof(DataTypeBase) == 4);
    static_assert(std::is_union_v<DataTypeBase>);
    static_assert(std::is_trivially_copyable_v<DataTypeBase>);
    static_assert(std::is_same_v<decltype(DataTypeBase::floatValue), float>);
    static_assert(std::is_same_v<std::make_signed_t<decltype(DataTypeBase::intValue)>, std::int32_t>);
    DataTypeBase sample;
    sample.floatValue = 1.0F;
    EXPECT_EQ(std::bit_cast<std::int32_t>(sample), 1065353216);
    sample.intValue = -2;
    EXPECT_EQ(std::bit_cast<std::int32_t>(sample), -2);
}
