#include <support/CacheFixture.h>
#include <support/LogCapture.h>

#include <algorithm>

using namespace vx::datastorage;

namespace {

constexpr const char* CATEGORY = "vx.datastorage.cache";

/// An array is written, evicted, loaded, and loaded once more without its file.
class CacheLog : public CacheFixture
{
protected:
    void liveThroughEverything()
    {
        Array& array = store("Voltage", {1, 2, 3});
        Array& other = store("Current", {1, 2, 3});
        cache().setCacheSizeInBytes(1);
        load(array);
        load(other);
        QFile::remove(fileOf(array));
        load(array);
        array.setReadWriteError(false);
        EXPECT_EQ(errors().size(), 1);
    }

    static bool hasLine(const QStringList& lines, const QString& start)
    {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const QString& line) { return line.startsWith(start); });
    }
};

} // namespace

TEST_F(CacheLog, IsQuietUnlessAsked)
{
    const LogCapture log;
    liveThroughEverything();
    EXPECT_EQ(LogCapture::taken(), QStringList());
}

TEST_F(CacheLog, TellsOfWritesEvictionsLoadsAndErrors)
{
    const LogCapture log;
    LogCapture::enable(CATEGORY);
    liveThroughEverything();
    const QStringList lines = LogCapture::taken();
    const QString before = QLatin1String(CATEGORY) + QLatin1String(": ");
    EXPECT_TRUE(hasLine(lines, before + "written \"Voltage\" samples: 3")) << lines.join('\n').toStdString();
    EXPECT_TRUE(hasLine(lines, before + "evicted \"Voltage\" samples: 3"));
    EXPECT_TRUE(hasLine(lines, before + "loaded \"Current\" samples: 3 milliseconds: "));
    EXPECT_TRUE(hasLine(lines, before + "\"CacheTaskRead::run ERROR !\\nCache file "));
}

TEST_F(CacheLog, TellsWhichConfigurationWasTakenOrRefused)
{
    const LogCapture log;
    LogCapture::enable(CATEGORY);
    const QString path = pathOf("cache.json");
    QString error;
    ASSERT_TRUE(writeFile(path, R"({"Version": 1, "Cache": {"Path": "Auto", "Size": "1000"}})"));
    EXPECT_TRUE(cache().readCacheConfiguration(path, 1, error));
    EXPECT_FALSE(cache().readCacheConfiguration(path, 2, error));
    const QStringList lines = LogCapture::taken();
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].contains("configured by") && lines[0].endsWith("budget: 1000"))
        << lines[0].toStdString();
    EXPECT_TRUE(lines[1].contains("refused") && lines[1].endsWith("\"unexpected version\""));
}
