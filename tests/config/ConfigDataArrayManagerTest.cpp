#include <datastorage/config/ConfigDataArrayManager.h>

#include <support/Printers.h>
#include <support/VirtualSlot.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

namespace {

using namespace vx::datastorage;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto OTHER_KIND = static_cast<DataConfigType>(5);

/// An array that counts its destruction.
class WatchedArray : public ConfigDataArray
{
public:
    explicit WatchedArray(int* destroyed) : m_destroyed(destroyed) {}
    WatchedArray(const WatchedArray&) = delete;
    WatchedArray& operator=(const WatchedArray&) = delete;
    ~WatchedArray() override { ++*m_destroyed; }

private:
    int* m_destroyed;
};

/// A registry of six arrays on the stack, which it must not delete.
class Registry : public testing::Test
{
protected:
    Registry()
    {
        for (ConfigDataArray& array : m_arrays) {
            m_manager.append(&array);
        }
    }

    static ConfigDataArray make(const QString& name, const QString& category, DataConfigType kind)
    {
        return {name, ParameterVoltage, Float, UnitVolt, category, kind};
    }

    std::array<ConfigDataArray, 6> m_arrays = {
        make("U", "Cell", Measured),   make("I", "Cell", Calculated), make("U", "Stack", OTHER_KIND),
        make("U", "Cell", Calculated), make("u", "cell", Measured),   make("", "", Measured),
    };
    ConfigDataArrayManager m_manager;
    ConfigDataArray* const m_first = &m_arrays[0];
};

TEST_F(Registry, KeepsTheOrderOfAppending)
{
    EXPECT_THAT(m_manager.getConfigDataArrayList(),
                ElementsAre(m_first, m_first + 1, m_first + 2, m_first + 3, m_first + 4, m_first + 5));
}

TEST_F(Registry, FindsByExactName)
{
    EXPECT_THAT(m_manager.getConfigDataArrayFromName("U"), ElementsAre(m_first, m_first + 2, m_first + 3));
    EXPECT_THAT(m_manager.getConfigDataArrayFromName("u"), ElementsAre(m_first + 4));
    EXPECT_THAT(m_manager.getConfigDataArrayFromName(""), ElementsAre(m_first + 5));
    EXPECT_THAT(m_manager.getConfigDataArrayFromName("U "), IsEmpty());
}

TEST_F(Registry, FindsByExactCategory)
{
    EXPECT_THAT(m_manager.getConfigDataArrayFromCategory("Cell"),
                ElementsAre(m_first, m_first + 1, m_first + 3));
    EXPECT_THAT(m_manager.getConfigDataArrayFromCategory("cell"), ElementsAre(m_first + 4));
    EXPECT_THAT(m_manager.getConfigDataArrayFromCategory("CELL"), IsEmpty());
}

TEST_F(Registry, FindsTheFirstOfNameAndCategory)
{
    EXPECT_EQ(m_manager.getConfigDataArrayFromNameAndCategory("U", "Cell"), m_first);
    EXPECT_EQ(m_manager.getConfigDataArrayFromNameAndCategory("U", "Stack"), m_first + 2);
    EXPECT_EQ(m_manager.getConfigDataArrayFromNameAndCategory("", ""), m_first + 5);
    EXPECT_EQ(m_manager.getConfigDataArrayFromNameAndCategory("I", "Stack"), nullptr);
    EXPECT_EQ(m_manager.getConfigDataArrayFromNameAndCategory("u", "Cell"), nullptr);
}

TEST_F(Registry, FindsByKind)
{
    EXPECT_THAT(m_manager.getConfigDataArrayListOfType(Measured),
                ElementsAre(m_first, m_first + 4, m_first + 5));
    EXPECT_THAT(m_manager.getConfigDataArrayListOfType(Calculated), ElementsAre(m_first + 1, m_first + 3));
    EXPECT_THAT(m_manager.getConfigDataArrayListOfType(OTHER_KIND), ElementsAre(m_first + 2));
    EXPECT_THAT(m_manager.getConfigDataArrayListOfType(static_cast<DataConfigType>(6)), IsEmpty());
}

TEST_F(Registry, FindsByOtherKind)
{
    EXPECT_THAT(m_manager.getConfigDataArrayListExcludingType(Measured),
                ElementsAre(m_first + 1, m_first + 2, m_first + 3));
    EXPECT_EQ(m_manager.getConfigDataArrayListExcludingType(static_cast<DataConfigType>(6)).size(), 6);
}

TEST_F(Registry, FindsByKindAndCategory)
{
    EXPECT_THAT(m_manager.getConfigDataArrayListOfTypeFromCategory("Cell", Calculated),
                ElementsAre(m_first + 1, m_first + 3));
    EXPECT_THAT(m_manager.getConfigDataArrayListOfTypeFromCategory("Cell", Measured), ElementsAre(m_first));
    EXPECT_THAT(m_manager.getConfigDataArrayListOfTypeFromCategory("Stack", Measured), IsEmpty());
}

TEST_F(Registry, SeesChangesOfItsArrays)
{
    m_arrays[5].setName("U");
    EXPECT_THAT(m_manager.getConfigDataArrayFromName("U"),
                ElementsAre(m_first, m_first + 2, m_first + 3, m_first + 5));
}

TEST_F(Registry, CopiesReferToTheSameArrays)
{
    ConfigDataArrayManager copy(m_manager);
    ConfigDataArrayManager assigned;
    assigned = m_manager;
    EXPECT_EQ(copy.getConfigDataArrayList(), m_manager.getConfigDataArrayList());
    EXPECT_EQ(assigned.getConfigDataArrayList(), m_manager.getConfigDataArrayList());
    ConfigDataArray more;
    copy.append(&more);
    EXPECT_EQ(copy.getConfigDataArrayList().size(), 7);
    EXPECT_EQ(m_manager.getConfigDataArrayList().size(), 6);
}

TEST(ConfigDataArrayManager, StartsEmpty)
{
    const ConfigDataArrayManager manager;
    EXPECT_THAT(manager.getConfigDataArrayList(), IsEmpty());
    EXPECT_EQ(manager.getConfigDataArrayFromNameAndCategory("", ""), nullptr);
    EXPECT_THAT(manager.getConfigDataArrayListExcludingType(Measured), IsEmpty());
}

TEST(ConfigDataArrayManager, DeletesWhenAskedAndNotWhenDestroyed)
{
    int destroyed = 0;
    auto* array = new WatchedArray(&destroyed);
    {
        ConfigDataArrayManager manager;
        manager.append(array);
        const ConfigDataArrayManager copy(manager);
    }
    EXPECT_EQ(destroyed, 0);

    ConfigDataArrayManager manager;
    manager.append(array);
    manager.append(new WatchedArray(&destroyed));
    manager.deleteAllAndClear();
    EXPECT_EQ(destroyed, 2);
    EXPECT_THAT(manager.getConfigDataArrayList(), IsEmpty());
    manager.deleteAllAndClear();
    EXPECT_EQ(destroyed, 2);
}

TEST(ConfigDataArrayManager, ListsAnArrayTwiceButDeletesItOnce)
{
    int destroyed = 0;
    auto* array = new WatchedArray(&destroyed);
    ConfigDataArrayManager manager;
    manager.append(array);
    manager.append(array);
    EXPECT_THAT(manager.getConfigDataArrayFromName(""), ElementsAre(array, array));
    manager.deleteAllAndClear();
    EXPECT_EQ(destroyed, 1);
}

TEST(ConfigDataArrayManager, IgnoresNull)
{
    ConfigDataArrayManager manager;
    manager.append(nullptr);
    EXPECT_THAT(manager.getConfigDataArrayFromName(""), IsEmpty());
    manager.deleteAllAndClear();
}

#if defined(VX_TEST_VIRTUAL_SLOTS)
struct Opened : ConfigDataArrayManager
{
    using ConfigDataArrayManager::createConfigDataArray;
    using ConfigDataArrayManager::readEnumArray;
    using ConfigDataArrayManager::readMeasuresArray;
    using ConfigDataArrayManager::readVariable;
};

TEST(ConfigDataArrayManager, HasItsVirtualOperationsInTheirSlots)
{
    EXPECT_EQ(virtualSlot(&Opened::readDataConfiguration), 1);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayFromCategory), 2);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayFromNameAndCategory), 3);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayFromName), 4);
    EXPECT_EQ(virtualSlot(&Opened::append), 5);
    EXPECT_EQ(virtualSlot(&Opened::deleteAllAndClear), 6);
    EXPECT_EQ(virtualSlot(&Opened::readEnumArray), 7);
    EXPECT_EQ(virtualSlot(&Opened::readMeasuresArray), 8);
    EXPECT_EQ(virtualSlot(&Opened::readVariable), 9);
    EXPECT_EQ(virtualSlot(&Opened::createConfigDataArray), 10);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayList), -1);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayListOfType), -1);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayListExcludingType), -1);
    EXPECT_EQ(virtualSlot(&Opened::getConfigDataArrayListOfTypeFromCategory), -1);
}
#endif

} // namespace
