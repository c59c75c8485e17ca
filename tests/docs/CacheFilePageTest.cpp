#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>

#include <docs/DocsPage.h>
#include <support/Printers.h>

#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// A cache file with the samples 1.0 and -2.5, written by the library.
class CacheFilePage : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        CacheManager& cache = CacheManager::instance();
        m_oldPath = cache.getDefaultCachePath();
        cache.setDefaultCachePath(m_directory.path(), false);
        ASSERT_TRUE(cache.checkDefaultCacheDirectory());
        m_array.createDataArray();
        m_array.startAddingData();
        m_array.addSampleFloat(1.0F);
        m_array.addSampleFloat(-2.5F);
        m_array.endAddingData("run");
        cache.awaitTaskFinished(&m_array);
    }

    void TearDown() override
    {
        CacheManager::instance().removeDataArrayInfoFromCache(&m_array);
        CacheManager::instance().setDefaultCachePath(m_oldPath, false);
    }

    QString fileName() const { return CacheManager::instance().getFullFilename("run", &m_array); }
    static QString page() { return readPage("cache-file.md"); }

private:
    QTemporaryDir m_directory;
    QString m_oldPath;
    DataArrayInfoStreamed m_array{"U", ParameterVoltage, Float, UsualUnit(UnitVolt)};
};

/// Runs a script with the first Python that has NumPy; null where there is none.
QString runWithNumPy(const QString& script)
{
    for (const char* program : {"python3", "/usr/bin/python3"}) {
        QProcess python;
        python.start(program, {"-c", "import numpy"});
        if (!python.waitForFinished() || python.exitCode() != 0)
            continue;
        python.start(program, {"-c", script});
        python.waitForFinished();
        return QString::fromUtf8(python.readAllStandardOutput() + python.readAllStandardError());
    }
    return {};
}

TEST_F(CacheFilePage, ShowsTheBytesThatTheLibraryWrites)
{
    QString shown;
    for (const QString& line : codeBlocks(page(), "text").value(0).split('\n', Qt::SkipEmptyParts))
        shown += line.mid(2); // without the offset
    QFile file(fileName());
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray::fromHex(shown.toLatin1()));
}

TEST_F(CacheFilePage, ReadsAFileWithNumPyInTheLinesThatItShows)
{
    const QString lines = codeBlocks(page(), "python").value(0);
    ASSERT_TRUE(lines.contains("samples = "));
    const QString output =
        runWithNumPy("path = r'" + fileName() + "'\n" + lines + "print(samples.dtype, samples.tolist())\n");
    if (output.isNull())
        GTEST_SKIP() << "there is no NumPy here (Debian: python3-numpy)";
    EXPECT_EQ(output, "float32 [1.0, -2.5]\n");
}

} // namespace
