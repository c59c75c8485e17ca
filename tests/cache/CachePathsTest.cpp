#include <support/CacheFixture.h>
#include <support/RowLabel.h>

#include <datastorage/cache/CacheReadManager.h>

#include <QtCore/QFileInfo>

namespace {

using namespace vx::datastorage;

struct KeyCase
{
    const char* label;
    QString key;
    QString name;
};

void PrintTo(const KeyCase& row, std::ostream* stream)
{
    *stream << row.label;
}

const KeyCase KEYS[] = {
    {"Unix", "/home/me/run 1.csv", "U"},
    {"DriveLetter", "C:/data/run1.dat", "U/V"},
    {"DriveLetterWithBackSlashes", "C:\\data\\run1.dat", "U\\V"},
    {"NetworkShare", "\\\\server\\share\\run1.dat", "U"},
    {"NetworkShareWithSlashes", "//server/share/run1.dat", "U"},
    {"ParentDirectories", "../../../etc/run", "../U"},
    {"DotsAlone", "..", ".."},
    {"ReservedCharacters", "a:b*c?d\"e<f>g|h&i", "?*"},
    {"OtherScripts", QStringLiteral(u"电池/Größe"), QStringLiteral(u"Напряжение")},
    {"LongKey", QString(4000, 'k'), "U"},
    {"LongName", "run", QString(4000, 'n')},
    {"LongPath", QString("directory/").repeated(400) + "run", "U"},
};

/// Keys and names as they come from every system: each gives one file in the cache directory, whose
/// samples come back.
class CacheKey : public CacheFixture, public testing::WithParamInterface<KeyCase>
{};

INSTANTIATE_TEST_SUITE_P(Paths, CacheKey, testing::ValuesIn(KEYS), RowLabel{});

TEST_P(CacheKey, GivesAFileInTheCacheDirectoryThatIsReadBack)
{
    DataArrayInfoStreamed array(GetParam().name, ParameterVoltage, Float, UsualUnit(UnitVolt));
    array.createDataArray();
    array.startAddingData();
    array.addSampleFloat(1.5F);
    array.addSampleFloat(-2.5F);
    array.endAddingData(GetParam().key);
    cache().awaitTaskFinished(&array);

    const QFileInfo file(cache().getFullFilename(GetParam().key, &array));
    EXPECT_TRUE(file.isFile());
    EXPECT_EQ(file.absolutePath(), QFileInfo(cache().getDefaultCachePath()).absolutePath());
    EXPECT_EQ(QDir(cache().getDefaultCachePath())
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                  .size(),
              1);
    EXPECT_EQ(cache().getDataArrayInfoKey(&array), GetParam().key);

    array.removeFromMemory();
    EXPECT_EQ(cache().getSampleDirect(&array, 1).floatValue, -2.5F);
    EXPECT_EQ(array.getSampleFloat(0), 1.5F);
    CacheReadManager::instance().close(static_cast<int>(array.getStreamId()));
    cache().removeDataArrayInfoFromCache(&array);
    EXPECT_FALSE(QFile::exists(file.filePath()));
}

using CachePaths = CacheFixture;

TEST_F(CachePaths, AreDifferentWhenTheyAreWrittenDifferently)
{
    DataArrayInfoStreamed slashes("U", ParameterVoltage, Float, UsualUnit(UnitVolt));
    DataArrayInfoStreamed backSlashes("U", ParameterVoltage, Float, UsualUnit(UnitVolt));
    EXPECT_NE(cache().getFullFilename("C:/data/run", &slashes),
              cache().getFullFilename("C:\\data\\run", &backSlashes));
}

} // namespace
