#include <datastorage/cache/SystemMemory_p.h>

#include <support/RowLabel.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryFile>

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>
#include <optional>
#include <ostream>

namespace platform = vx::datastorage::platform;

namespace {

#if defined(Q_OS_LINUX)

/// The number of kilobytes in the line of /proc/meminfo that starts with `label`, read independently.
qint64 memoryKilobytes(const char* label)
{
    QFile file(QStringLiteral("/proc/meminfo"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith(label))
            return line.simplified().split(' ').at(1).toLongLong();
    }
    ADD_FAILURE() << "no line " << label;
    return 0;
}

TEST(AvailableMemory, LiesBetweenZeroAndTheInstalledMemory)
{
    const std::optional<std::uint64_t> bytes = platform::availablePhysicalMemory();
    ASSERT_TRUE(bytes.has_value());
    EXPECT_GT(*bytes, 0U);
    EXPECT_LT(*bytes, static_cast<std::uint64_t>(memoryKilobytes("MemTotal:")) * 1024);
    EXPECT_EQ(*bytes % 1024, 0U);
}

TEST(AvailableMemory, FollowsTheSystemsOwnFigure)
{
    // The figure moves while other programs run: a reading taken between two of ours lies between them,
    // widened by what a busy machine may take or free meanwhile.
    constexpr qint64 toleranceKilobytes = qint64{1024} * 1024;
    const qint64 before = memoryKilobytes("MemAvailable:");
    const std::optional<std::uint64_t> bytes = platform::availablePhysicalMemory();
    const qint64 after = memoryKilobytes("MemAvailable:");
    ASSERT_TRUE(bytes.has_value());
    const auto kilobytes = static_cast<qint64>(*bytes / 1024);
    EXPECT_GE(kilobytes, std::min(before, after) - toleranceKilobytes);
    EXPECT_LE(kilobytes, std::max(before, after) + toleranceKilobytes);
}

struct MemoryText
{
    const char* label;
    const char* text;
    std::optional<std::uint64_t> bytes;
};

void PrintTo(const MemoryText& row, std::ostream* stream)
{
    *stream << '"' << row.text << '"';
}

const MemoryText MEMORY_TEXTS[] = {
    {"Usual", "MemTotal:  2000 kB\nMemFree:  10 kB\nMemAvailable:    1500 kB\nBuffers: 3 kB\n", 1536000},
    {"FirstLine", "MemAvailable: 7 kB", 7168},
    {"WithoutUnit", "MemAvailable:7", 7168},
    {"Tabulator", "MemAvailable:\t12 kB\n", 12288},
    {"Zero", "MemAvailable: 0 kB\n", 0},
    {"LargestThatFits", "MemAvailable: 18014398509481983 kB", 18446744073709550592U},
    {"OneMore", "MemAvailable: 18014398509481984 kB", std::nullopt},
    {"BeyondAllNumbers", "MemAvailable: 99999999999999999999999 kB", std::nullopt},
    {"Empty", "", std::nullopt},
    {"OldSystem", "MemTotal: 2000 kB\nMemFree: 1000 kB\n", std::nullopt},
    {"NoNumber", "MemAvailable: kB\n", std::nullopt},
    {"Negative", "MemAvailable: -5 kB\n", std::nullopt},
    {"CutShort", "MemAvailable:", std::nullopt},
    {"CutShortAfterSpace", "MemAvailable:   ", std::nullopt},
};

class AvailableMemoryText : public testing::TestWithParam<MemoryText>
{};

TEST_P(AvailableMemoryText, GivesBytes)
{
    EXPECT_EQ(platform::parseAvailableMemory(GetParam().text), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Texts, AvailableMemoryText, testing::ValuesIn(MEMORY_TEXTS), RowLabel{});

TEST(ReservedFileSpace, LeavesTheSizeOfTheFile)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    ASSERT_EQ(file.write("abc"), 3);
    ASSERT_TRUE(file.flush());
    if (!platform::reserveFileSpace(file.handle(), 3, std::int64_t{4} * 1024 * 1024))
        GTEST_SKIP() << "this file system reserves nothing";
    EXPECT_EQ(file.size(), 3);
}

TEST(ReservedFileSpace, IsRefusedForALengthThatIsNone)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    EXPECT_FALSE(platform::reserveFileSpace(file.handle(), 0, 0));
    EXPECT_FALSE(platform::reserveFileSpace(file.handle(), 0, -1));
    EXPECT_FALSE(platform::reserveFileSpace(file.handle(), -1, 10));
}

TEST(ReservedFileSpace, IsRefusedBeyondTheLargestFile)
{
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    EXPECT_FALSE(platform::reserveFileSpace(file.handle(), 16, std::numeric_limits<std::int64_t>::max()));
}

TEST(ReservedFileSpace, IsRefusedWithoutAFile)
{
    EXPECT_FALSE(platform::reserveFileSpace(-1, 0, 4096));
    EXPECT_EQ(platform::lastSystemError(), static_cast<std::uint32_t>(EBADF));
}

TEST(LastSystemError, IsThatOfThisThread)
{
    errno = ENOSPC;
    EXPECT_EQ(platform::lastSystemError(), static_cast<std::uint32_t>(ENOSPC));
    errno = 0;
    EXPECT_EQ(platform::lastSystemError(), 0U);
}

TEST(ProcessAlive, IsFalseOnceTheProcessHasEnded)
{
    QProcess child;
    child.start(QStringLiteral("cat"), {});
    ASSERT_TRUE(child.waitForStarted());
    const qint64 pid = child.processId();
    EXPECT_TRUE(platform::isProcessAlive(pid));
    child.closeWriteChannel();
    ASSERT_TRUE(child.waitForFinished());
    EXPECT_FALSE(platform::isProcessAlive(pid));
}

TEST(ProcessAlive, IsTrueForAProcessOfSomebodyElse)
{
    EXPECT_TRUE(platform::isProcessAlive(1));
}

#endif

TEST(ProcessAlive, IsTrueForThisProcess)
{
    EXPECT_EQ(platform::currentProcessId(), QCoreApplication::applicationPid());
    EXPECT_TRUE(platform::isProcessAlive(platform::currentProcessId()));
}

TEST(ProcessAlive, IsFalseForNumbersThatAreNoProcess)
{
    EXPECT_FALSE(platform::isProcessAlive(0));
    EXPECT_FALSE(platform::isProcessAlive(-1));
    EXPECT_FALSE(platform::isProcessAlive(std::numeric_limits<long long>::max()));
    EXPECT_FALSE(platform::isProcessAlive(std::numeric_limits<long long>::min()));
}

} // namespace
