#include <support/Printers.h>
#include <support/Signal.h>

#include <QtCore/QDir>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <string>

#include <gtest/gtest.h>

namespace {

/// How a process ends; the program of that name carries it out.
const char* const ENDINGS[] = {
    "without-application", "without-application-and-error", "after-application",  "with-static-array",
    "with-queued-tasks",   "with-pending-completions",      "with-open-brackets", "in-a-second-application",
};

} // namespace

class CacheUnloading : public ::testing::TestWithParam<const char*>
{};

TEST_P(CacheUnloading, EndsTheProcessInOrderAndLeavesNoFile)
{
    const QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(CACHE_UNLOADER, {GetParam(), directory.filePath("cache")});
    ASSERT_TRUE(process.waitForStarted(TEST_PATIENCE_MILLISECONDS));
    if (!process.waitForFinished(3 * TEST_PATIENCE_MILLISECONDS)) {
        process.kill();
        process.waitForFinished(TEST_PATIENCE_MILLISECONDS);
        FAIL() << "the process hangs: " << process.readAll().toStdString();
    }
    const std::string output = process.readAll().toStdString();
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit) << output;
    EXPECT_EQ(process.exitCode(), 0) << output;
    EXPECT_TRUE(QDir(directory.filePath("cache/was-there")).exists()) << "the process did not do its part";
    const QStringList left = QDir(directory.filePath("cache")).entryList({"*.bmd"}, QDir::Files);
    EXPECT_TRUE(left.isEmpty()) << left.join(' ').toStdString();
    EXPECT_TRUE(
        QDir(directory.filePath("cache/files")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Endings, CacheUnloading, ::testing::ValuesIn(ENDINGS), [](const auto& row) {
    std::string name = row.param;
    std::erase(name, '-');
    return name;
});
