#include <datastorage/arrays/DataArrayIdentifier.h>

#include <archive/ArchiveContext.h>

#include <support/Printers.h>
#include <support/RowLabel.h>
#include <support/VirtualSlot.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

#include <type_traits>

#include <gtest/gtest.h>

using namespace vx::datastorage;

TEST(DataArrayIdentifier, StartsWithEmptyTexts)
{
    const DataArrayIdentifier identifier;
    EXPECT_EQ(identifier.getName(), QString());
    EXPECT_EQ(identifier.getCategory(), QString());
}

TEST(DataArrayIdentifier, TakesNameAndCategory)
{
    DataArrayIdentifier identifier("Voltage", "Raw");
    EXPECT_EQ(identifier.getName(), QString("Voltage"));
    EXPECT_EQ(identifier.getCategory(), QString("Raw"));
    identifier.setName("Current");
    identifier.setCategory("Processed");
    EXPECT_EQ(identifier.getName(), QString("Current"));
    EXPECT_EQ(identifier.getCategory(), QString("Processed"));
}

TEST(DataArrayIdentifier, ReturnsItsTextsByConstantReference)
{
    static_assert(std::is_same_v<decltype(&DataArrayIdentifier::getName),
                                 const QString& (DataArrayIdentifier::*)() const>);
    static_assert(std::is_same_v<decltype(&DataArrayIdentifier::getCategory),
                                 const QString& (DataArrayIdentifier::*)() const>);
    static_assert(std::has_virtual_destructor_v<DataArrayIdentifier>);
}

TEST(DataArrayIdentifier, CopiesBothTexts)
{
    const DataArrayIdentifier first("Voltage", "Raw");
    DataArrayIdentifier copy(first);
    copy.setName("Current");
    EXPECT_EQ(first.getName(), QString("Voltage")) << "a copy is its own";
    copy.setName("Voltage");
    DataArrayIdentifier assigned;
    assigned = first;
    EXPECT_EQ(copy.getName(), QString("Voltage"));
    EXPECT_EQ(copy.getCategory(), QString("Raw"));
    EXPECT_EQ(assigned.getName(), QString("Voltage"));
    EXPECT_EQ(assigned.getCategory(), QString("Raw"));
}

TEST(DataArrayIdentifier, WritesItsTwoMembersBesideOthers)
{
    const DataArrayIdentifier identifier("Voltage", "Raw");
    vx::archive::ArchiveContext context;
    QJsonObject object{{"other", 7}};
    EXPECT_TRUE(identifier.write(object, 3, context));
    const QJsonObject expected{{"name", "Voltage"}, {"category", "Raw"}, {"other", 7}};
    EXPECT_EQ(object, expected);
}

TEST(DataArrayIdentifier, ReadsWhatItWrote)
{
    vx::archive::ArchiveContext context;
    QJsonObject object;
    ASSERT_TRUE(DataArrayIdentifier("Größe", "α/β").write(object, 1, context));
    DataArrayIdentifier read("before", "before");
    EXPECT_TRUE(read.read(object, 1, context));
    EXPECT_EQ(read.getName(), QString("Größe"));
    EXPECT_EQ(read.getCategory(), QString("α/β"));
}

struct IdentifierRow
{
    const char* label;
    QJsonObject object;
    QString name;
    QString category;
};

const IdentifierRow DOCUMENTS[] = {
    {"Empty", {}, "", ""},
    {"OnlyName", {{"name", "Voltage"}}, "Voltage", ""},
    {"OnlyCategory", {{"category", "Raw"}}, "", "Raw"},
    {"Numbers", {{"name", 7}, {"category", 7.5}}, "", ""},
    {"Null", {{"name", QJsonValue::Null}, {"category", "Raw"}}, "", "Raw"},
    {"Containers", {{"name", QJsonArray{"Voltage"}}, {"category", QJsonObject{}}}, "", ""},
    {"OtherCase", {{"Name", "Voltage"}, {"Category", "Raw"}}, "", ""},
};

class DataArrayIdentifierDocument : public ::testing::TestWithParam<IdentifierRow>
{};

TEST_P(DataArrayIdentifierDocument, IsAlwaysReadAndReplacesBothTexts)
{
    vx::archive::ArchiveContext context;
    DataArrayIdentifier identifier("before", "before");
    EXPECT_TRUE(identifier.read(GetParam().object, 1, context));
    EXPECT_EQ(identifier.getName(), GetParam().name);
    EXPECT_EQ(identifier.getCategory(), GetParam().category);
}

INSTANTIATE_TEST_SUITE_P(Documents, DataArrayIdentifierDocument, ::testing::ValuesIn(DOCUMENTS), RowLabel{});

#ifdef VX_TEST_VIRTUAL_SLOTS
TEST(DataArrayIdentifier, VirtualOperationsStandInTheirSlots)
{
    EXPECT_EQ(virtualSlot(&DataArrayIdentifier::read), 1);
    EXPECT_EQ(virtualSlot(&DataArrayIdentifier::write), 2);
    EXPECT_EQ(virtualSlot(&DataArrayIdentifier::getName), -1);
    EXPECT_EQ(virtualSlot(&DataArrayIdentifier::setName), -1);
    EXPECT_EQ(virtualSlot(&DataArrayIdentifier::getCategory), -1);
    EXPECT_EQ(virtualSlot(&DataArrayIdentifier::setCategory), -1);
}
#endif
