#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/GatedPool.h>
#include <support/RowLabel.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// A private function of the manager, which an explicit instantiation may name.
using NameAndPathExist = bool (CacheManager::*)(const QString&, const DataArrayInfoStreamed*) const;
NameAndPathExist nameAndPathExist();

template <NameAndPathExist Function>
struct PrivateFunction
{
    friend NameAndPathExist nameAndPathExist() { return Function; }
};

template struct PrivateFunction<&CacheManager::isNameAndPathExist>;

struct NameRow
{
    const char* label;
    const char* path;
    const char* fileName;
};

const NameRow NAMES[] = {
    {"Example", "a:b/c|d&e", "a__b_slash_c__d__e"},
    {"Empty", "", ""},
    {"Plain", "run1.dat", "run1.dat"},
    {"Colon", "C:", "C__"},
    {"Star", "a*b", "a__b"},
    {"QuestionMark", "a?b", "a__b"},
    {"Quote", "a\"b", "a__b"},
    {"Less", "a<b", "a__b"},
    {"Greater", "a>b", "a__b"},
    {"Bar", "a|b", "a__b"},
    {"Ampersand", "a&b", "a__b"},
    {"Slash", "a/b", "a_slash_b"},
    {"SlashAtBothEnds", "/a/", "_slash_a_slash_"},
    {"Repeated", "::", "____"},
    {"AllKinds", ":*?\"<>|&/", "_________________slash_"},
    {"BackSlashBlankAndDotStay", "a\\b c.d", "a\\b c.d"},
    {"OtherLettersStay", "Größe[µΩ]#%'", "Größe[µΩ]#%'"},
};

} // namespace

class CacheFlatName : public ::testing::TestWithParam<NameRow>
{};

TEST_P(CacheFlatName, IsFlat)
{
    EXPECT_EQ(CacheManager::transformCachePathToFileName(GetParam().path), QString(GetParam().fileName));
}

INSTANTIATE_TEST_SUITE_P(Paths, CacheFlatName, ::testing::ValuesIn(NAMES), RowLabel{});

class CacheKeys : public CacheFixture
{
protected:
    static QString directory() { return cache().getDefaultCachePath(); }
};

TEST_F(CacheKeys, JoinsKeyAndName)
{
    Array& array = make("U/V");
    EXPECT_EQ(cache().getFullFilename("C:/data/run1.dat", &array),
              directory() + "C___slash_data_slash_run1.dat__U_slash_V.bmd");
}

TEST_F(CacheKeys, TransformsTheNameButNotTheDirectory)
{
    cache().setDefaultCachePath(pathOf("a&b:c"), false);
    Array& array = make("I*t");
    EXPECT_EQ(cache().getFullFilename("k", &array), pathOf("a&b:c") + "/k__I__t.bmd");
}

TEST_F(CacheKeys, OfANullKeyStartsWithTheJoint)
{
    Array& array = make("A");
    EXPECT_EQ(cache().getFullFilename(QString(), &array), directory() + "__A.bmd");
}

TEST_F(CacheKeys, OfAnArrayWithoutNameEndsWithTheJoint)
{
    Array& array = make("");
    EXPECT_EQ(cache().getFullFilename("k", &array), directory() + "k__.bmd");
}

TEST_F(CacheKeys, DiffersByKeyAndByName)
{
    Array& first = make("A");
    Array& sameName = make("A");
    Array& otherName = make("B");
    EXPECT_EQ(cache().getFullFilename("k", &first), cache().getFullFilename("k", &sameName));
    EXPECT_NE(cache().getFullFilename("k", &first), cache().getFullFilename("l", &sameName));
    EXPECT_NE(cache().getFullFilename("k", &first), cache().getFullFilename("k", &otherName));
}

// ---- keys

TEST_F(CacheKeys, TheKeyOfAnArrayIsTheOneItIsFiledUnder)
{
    Array& array = make("A");
    EXPECT_TRUE(cache().getDataArrayInfoKey(&array).isNull());
    fill(array, {1});
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), KEY);
    EXPECT_TRUE(cache().getDataArrayInfoKey(nullptr).isNull());
}

TEST_F(CacheKeys, AnArrayThatIsUpdatedHasNoKey)
{
    Array& array = store("A", {1});
    array.startAddingData();
    EXPECT_TRUE(cache().getDataArrayInfoKey(&array).isNull());
    array.endAddingData(KEY);
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), KEY);
}

// ---- lists

TEST_F(CacheKeys, TheListHoldsTheFilesBelowAPrefix)
{
    Array& inside = store("A", {1}, "C:/data/x.dat");
    store("B", {1}, "C:/database.dat");
    store("C", {1}, "C:/data");
    Array& empty = store("D", {}, "C:/data/empty.dat");
    ASSERT_TRUE(cache().isCached(&empty));
    EXPECT_EQ(cache().getDataSourceFileCacheList("C:/data", "/"),
              QStringList{fileOf(inside, "C:/data/x.dat")});
}

TEST_F(CacheKeys, TheListIsInTheOrderOfTheKeys)
{
    Array& third = store("A", {1}, "C:/data/z.dat");
    Array& first = store("B", {1}, "C:/data/a.dat");
    Array& second = store("C", {1}, "C:/data/m.dat");
    EXPECT_EQ(cache().getDataSourceFileCacheList("C:/data", "/"),
              (QStringList{fileOf(first, "C:/data/a.dat"), fileOf(second, "C:/data/m.dat"),
                           fileOf(third, "C:/data/z.dat")}));
}

TEST_F(CacheKeys, TheListTakesTheNextCharacterExactly)
{
    Array& array = store("A", {1}, "C:/data/x.dat");
    const QString file = fileOf(array, "C:/data/x.dat");
    EXPECT_EQ(cache().getDataSourceFileCacheList("C:/data/x.da", "t"), QStringList{file});
    EXPECT_EQ(cache().getDataSourceFileCacheList("C:/data/x.dat", ""), QStringList{file})
        << "nothing follows a prefix that is the whole key";
    EXPECT_EQ(cache().getDataSourceFileCacheList("", "C"), QStringList{file});
    EXPECT_TRUE(cache().getDataSourceFileCacheList("C:/data", "").isEmpty());
    EXPECT_TRUE(cache().getDataSourceFileCacheList("C:/data", "/x").isEmpty());
    EXPECT_TRUE(cache().getDataSourceFileCacheList("C:/data/x.dat", "/").isEmpty());
    EXPECT_TRUE(cache().getDataSourceFileCacheList("c:/data", "/").isEmpty()) << "case matters";
    EXPECT_TRUE(cache().getDataSourceFileCacheList("C:/data", "\\").isEmpty());
}

TEST_F(CacheKeys, TheListCountsEvictedArraysByTheirFullSize)
{
    Array& array = store("A", {1}, "C:/data/x.dat");
    evict(array);
    EXPECT_EQ(cache().getDataSourceFileCacheList("C:/data", "/").size(), 1);
}

TEST_F(CacheKeys, TheListLeavesOutArraysThatAreUpdated)
{
    Array& array = store("A", {1}, "C:/data/x.dat");
    array.startAddingData();
    EXPECT_TRUE(cache().getDataSourceFileCacheList("C:/data", "/").isEmpty());
    array.endAddingData(KEY);
}

// ---- new keys

TEST_F(CacheKeys, ANewKeyRenamesTheFile)
{
    Array& array = store("A", {1, 2}, "old");
    EXPECT_TRUE(cache().updateDataCachePath("new", &array));
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), QString("new"));
    EXPECT_FALSE(hasFile(array, "old"));
    EXPECT_EQ(bytesOf(array, "new"), cacheFileBytes({1, 2}));
    evict(array);
    EXPECT_EQ(samplesOf(array), (std::vector<std::int32_t>{1, 2}));
}

TEST_F(CacheKeys, ANewKeyOfAnUnregisteredArrayIsRefused)
{
    Array& array = make("A");
    EXPECT_FALSE(cache().updateDataCachePath("new", &array));
    EXPECT_FALSE(cache().isCached(&array));
    EXPECT_TRUE(cache().getDataArrayInfoKey(&array).isNull());
}

TEST_F(CacheKeys, ANewKeyOfAnArrayThatIsUpdatedIsRefused)
{
    Array& array = store("A", {1}, "old");
    array.startAddingData();
    EXPECT_FALSE(cache().updateDataCachePath("new", &array));
    EXPECT_TRUE(cache().isUpdating(&array));
    array.endAddingData("ignored");
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), QString("old"));
}

TEST_F(CacheKeys, ANewKeyOfAnArrayRegisteredTwiceRemovesItAndIsRefused)
{
    Array& array = store("A", {1}, "old");
    cache().addDataArrayInfoToCache("old", &array);
    cache().awaitTaskFinished(&array);
    EXPECT_FALSE(cache().updateDataCachePath("new", &array));
    EXPECT_FALSE(cache().isCached(&array));
}

TEST_F(CacheKeys, ANewKeyStaysWhenTheFileCannotBeRenamed)
{
    Array& array = store("A", {1}, "old");
    ASSERT_TRUE(QFile::remove(fileOf(array, "old")));
    EXPECT_FALSE(cache().updateDataCachePath("new", &array));
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), QString("new"));
}

TEST_F(CacheKeys, ANewKeyDoesNotReplaceAnotherFile)
{
    Array& array = store("A", {1}, "old");
    const QString oldFile = fileOf(array, "old");
    const QString newFile = fileOf(array, "new");
    ASSERT_TRUE(writeFile(newFile, "in the way"));
    EXPECT_FALSE(cache().updateDataCachePath("new", &array));
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), QString("new"));
    EXPECT_EQ(readFile(newFile), QByteArray("in the way"));
    EXPECT_EQ(readFile(oldFile), cacheFileBytes({1}));
}

TEST_F(CacheKeys, ANewKeyEndsTheMappingOfTheOldFile)
{
    Array& array = store("A", {1, 2, 3}, "old");
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 1)), 2);
    ASSERT_NE(array.getStreamId(), -1);
    EXPECT_TRUE(cache().updateDataCachePath("new", &array));
    EXPECT_EQ(array.getStreamId(), -1);
    EXPECT_EQ(bitsOf(cache().getSampleDirect(&array, 2)), 3);
}

TEST_F(CacheKeys, ANewKeyWaitsForTheTaskOfTheArray)
{
    GatedPool pool;
    Array& array = make("A");
    fill(array, {1, 2}, "old");
    pool.open();
    EXPECT_TRUE(cache().updateDataCachePath("new", &array));
    EXPECT_EQ(bytesOf(array, "new"), cacheFileBytes({1, 2}));
    EXPECT_FALSE(hasFile(array, "old"));
}

TEST_F(CacheKeys, ANameIsTakenUnderItsKeyAlone)
{
    Array& array = store("U", {1}, "run1");
    Array& sameName = make("U");
    Array& otherName = make("u");
    const auto exists = [](const QString& key, const Array& candidate) {
        return (cache().*nameAndPathExist())(key, &candidate);
    };
    EXPECT_TRUE(exists("run1", array));
    EXPECT_TRUE(exists("run1", sameName));
    EXPECT_FALSE(exists("run1", otherName));
    EXPECT_FALSE(exists("run", sameName));
    EXPECT_FALSE(exists("RUN1", sameName));
    cache().startUpdateDataArrayInfoContent(&array);
    EXPECT_FALSE(exists("run1", sameName)) << "an array that is updated is not cached";
}
