#include <datastorage/config/DynamicEnum.h>
#include <datastorage/config/DynamicEnumHandler.h>

#include <support/Printers.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <unordered_map>

namespace {

using namespace vx::datastorage;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

static_assert(std::has_virtual_destructor_v<DynamicEnum>);
static_assert(std::is_same_v<decltype(&DynamicEnum::getKeys), QList<QString> (DynamicEnum::*)()>);

TEST(DynamicEnum, StartsWithoutLabels)
{
    DynamicEnum empty;
    EXPECT_EQ(empty.getName(), "");
    EXPECT_EQ(empty.getValuesCount(), 0);
    EXPECT_EQ(empty.getMinValue(), 2'147'483'647);
    EXPECT_EQ(empty.getMaxValue(), std::numeric_limits<int>::min());
    EXPECT_TRUE(empty.getKey(0).isNull());
    EXPECT_THAT(empty.getKeys(), IsEmpty());
    EXPECT_THAT(empty.getKeysSortedByValue(), IsEmpty());
    EXPECT_THAT(empty.getKeyValues(), IsEmpty());
    EXPECT_FALSE(empty.isKeyExists(""));
    EXPECT_FALSE(empty.isValueExists(0));
    EXPECT_EQ(DynamicEnum("Mode").getName(), "Mode");
    EXPECT_EQ(DynamicEnum("Mode").getValuesCount(), 0);
}

TEST(DynamicEnum, LastValueOfALabelWins)
{
    DynamicEnum mode;
    mode.addKeyValue("A", 1);
    mode.addKeyValue("A", 5);
    EXPECT_EQ(mode.getValuesCount(), 1);
    EXPECT_EQ(mode.getValue("A"), 5);
    EXPECT_FALSE(mode.isValueExists(1));
}

TEST(DynamicEnum, TellsAbsentLabelsFromZeros)
{
    DynamicEnum mode;
    mode.addKeyValue("zero", 0);
    mode.addKeyValue("one", 1);
    EXPECT_EQ(mode.getValue("zero"), 0);
    EXPECT_EQ(mode.getValue("absent"), 0);
    bool found = false;
    EXPECT_EQ(mode.getValue("zero", found), 0);
    EXPECT_TRUE(found);
    EXPECT_EQ(mode.getValue("absent", found), 0);
    EXPECT_FALSE(found);
    EXPECT_EQ(mode.getValue("one", found), 1);
    EXPECT_TRUE(found);
    EXPECT_EQ(mode.getValue("One", found), 0);
    EXPECT_FALSE(found);
    EXPECT_EQ(mode.getValuesCount(), 2) << "a look-up adds nothing";
}

TEST(DynamicEnum, ListsLabelsByValue)
{
    DynamicEnum mode;
    mode.addKeyValue("b", 2);
    mode.addKeyValue("a", 1);
    mode.addKeyValue("c", 3);
    mode.addKeyValue("z", std::numeric_limits<int>::min());
    mode.addKeyValue("y", std::numeric_limits<int>::max());
    EXPECT_THAT(mode.getKeysSortedByValue(), ElementsAre("z", "a", "b", "c", "y"));
    EXPECT_THAT(mode.getKeys(), UnorderedElementsAre("a", "b", "c", "y", "z"));
    EXPECT_EQ(mode.getMinValue(), std::numeric_limits<int>::min());
    EXPECT_EQ(mode.getMaxValue(), std::numeric_limits<int>::max());
}

TEST(DynamicEnum, SortsManyLabels)
{
    DynamicEnum mode;
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i) {
        mode.addKeyValue(std::to_string(i), (i * 7919) % count - 500);
    }
    const QList<QString> keys = mode.getKeysSortedByValue();
    ASSERT_EQ(keys.size(), count);
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(mode.getValue(keys.at(i).toStdString()), i - 500);
    }
    EXPECT_EQ(mode.getMinValue(), -500);
    EXPECT_EQ(mode.getMaxValue(), 499);
}

TEST(DynamicEnum, SeveralLabelsMayShareAValue)
{
    DynamicEnum mode;
    mode.addKeyValue("a", 7);
    mode.addKeyValue("b", 7);
    mode.addKeyValue("c", 1);
    EXPECT_EQ(mode.getValuesCount(), 3);
    EXPECT_THAT(mode.getKey(7), testing::AnyOf(QString("a"), QString("b")));
    EXPECT_EQ(mode.getKey(1), "c");
    EXPECT_TRUE(mode.getKey(2).isNull());
    const QList<QString> keys = mode.getKeysSortedByValue();
    EXPECT_EQ(keys.first(), "c");
    EXPECT_THAT(keys, UnorderedElementsAre("a", "b", "c"));
}

TEST(DynamicEnum, LabelsAreUtf8InsideAndTextOutside)
{
    DynamicEnum mode;
    const QString label = QString::fromUtf8("\xCE\xA9 \xE2\x82\xAC");
    mode.addKeyValue("\xCE\xA9 \xE2\x82\xAC", 3);
    mode.addKeyValue(std::string("x\0y", 3), 4);
    mode.addKeyValue("", 5);
    EXPECT_TRUE(mode.isKeyExists(label));
    EXPECT_EQ(mode.getKey(3), label);
    EXPECT_EQ(mode.getKey(4), QString("x") + QChar(0) + "y");
    EXPECT_TRUE(mode.isKeyExists(""));
    EXPECT_FALSE(mode.isKeyExists("x"));
    EXPECT_FALSE(mode.getKey(5).isNull()) << "an empty label is a label";
    EXPECT_THAT(mode.getKeyValues(),
                UnorderedElementsAre(testing::Pair("\xCE\xA9 \xE2\x82\xAC", 3),
                                     testing::Pair(std::string("x\0y", 3), 4), testing::Pair("", 5)));
    EXPECT_TRUE(mode.isValueExists(4));
    EXPECT_FALSE(mode.isValueExists(6));
}

TEST(DynamicEnum, CopiesAreIndependent)
{
    DynamicEnum source("Mode");
    source.addKeyValue("a", 1);
    DynamicEnum copy(source);
    DynamicEnum assigned;
    assigned = source;
    copy.addKeyValue("a", 2);
    copy.setName("Other");
    assigned.addKeyValue("b", 3);
    EXPECT_EQ(source.getName(), "Mode");
    EXPECT_EQ(source.getValue("a"), 1);
    EXPECT_EQ(source.getValuesCount(), 1);
    EXPECT_EQ(copy.getName(), "Other");
    EXPECT_EQ(copy.getValue("a"), 2);
    EXPECT_EQ(assigned.getName(), "Mode");
    EXPECT_EQ(assigned.getValuesCount(), 2);
}

/// An enumeration that tells when it is destroyed.
class WatchedEnum : public DynamicEnum
{
public:
    WatchedEnum(const QString& name, int* destroyed) : DynamicEnum(name), m_destroyed(destroyed) {}
    WatchedEnum(const WatchedEnum&) = delete;
    WatchedEnum& operator=(const WatchedEnum&) = delete;
    ~WatchedEnum() override { ++*m_destroyed; }

private:
    int* m_destroyed;
};

class DynamicEnumHandlerTest : public testing::Test
{
protected:
    ~DynamicEnumHandlerTest() override { handler().deleteAll(); }

    static DynamicEnumHandler& handler() { return nel::tools::Singleton<DynamicEnumHandler>::instance(); }

    DynamicEnum* add(const QString& name)
    {
        return handler().addEnum(std::make_unique<WatchedEnum>(name, &m_destroyed));
    }

    int m_destroyed = 0;
};

TEST_F(DynamicEnumHandlerTest, FindsByTheExactName)
{
    DynamicEnum* mode = add("Mode");
    DynamicEnum* unnamed = add("");
    EXPECT_EQ(mode->getName(), "Mode");
    EXPECT_EQ(handler().getEnum("Mode"), mode);
    EXPECT_EQ(handler().getEnum(""), unnamed);
    EXPECT_EQ(handler().getEnum("mode"), nullptr);
    EXPECT_EQ(handler().getEnum("Mode "), nullptr);
    EXPECT_EQ(handler().getEnum("Other"), nullptr);
}

TEST_F(DynamicEnumHandlerTest, ReplacesAnEnumerationOfTheSameName)
{
    add("Mode")->addKeyValue("old", 1);
    DynamicEnum* other = add("Other");
    DynamicEnum* second = add("Mode");
    EXPECT_EQ(m_destroyed, 1);
    EXPECT_EQ(handler().getEnum("Mode"), second);
    EXPECT_FALSE(second->isKeyExists("old"));
    EXPECT_EQ(handler().getEnum("Other"), other);
}

TEST_F(DynamicEnumHandlerTest, KeepsTheNameOfTheMomentOfFiling)
{
    DynamicEnum* mode = add("Mode");
    mode->setName("Renamed");
    EXPECT_EQ(handler().getEnum("Mode"), mode);
    EXPECT_EQ(handler().getEnum("Renamed"), nullptr);
}

TEST_F(DynamicEnumHandlerTest, DestroysWhatItOwns)
{
    add("a");
    add("b");
    handler().deleteAll();
    EXPECT_EQ(m_destroyed, 2);
    EXPECT_EQ(handler().getEnum("a"), nullptr);
    handler().deleteAll();
    EXPECT_EQ(m_destroyed, 2);
}

#if defined(QT_NO_DEBUG)
TEST_F(DynamicEnumHandlerTest, FilesNothingForNull)
{
    EXPECT_EQ(handler().addEnum(nullptr), nullptr);
}
#endif

} // namespace
