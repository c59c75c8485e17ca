#include <datastorage/cache/CacheManager.h>

#include <support/CacheFixture.h>
#include <support/RecordingTranslator.h>
#include <support/RowLabel.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

#include <algorithm>
#include <string>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

constexpr int VERSION = 4;
constexpr qint64 BUDGET_BEFORE = 987654321;

QString processId()
{
    return QString::number(QCoreApplication::applicationPid());
}

QString tempDirectory()
{
    return QStandardPaths::standardLocations(QStandardPaths::TempLocation).first();
}

/// A figure of the system's memory in bytes, 0 when it has none of that name.
qint64 systemMemory(const QString& name)
{
    const QString text = QString::fromLatin1(readFile("/proc/meminfo"));
    const QRegularExpression line("^" + name + ":\\s+(\\d+) kB$", QRegularExpression::MultilineOption);
    return line.match(text).captured(1).toLongLong() * 1024;
}

} // namespace

class CacheConfiguration : public CacheFixture
{
protected:
    void SetUp() override
    {
        CacheFixture::SetUp();
        cache().setCacheSizeInBytes(BUDGET_BEFORE);
        m_pathBefore = cache().getDefaultCachePath();
        ASSERT_TRUE(QDir().mkdir(existingDirectory()));
    }

    /// Reads a file with this content as the cache configuration.
    bool configure(const QJsonObject& document, QString& error) const
    {
        return configureBytes(QJsonDocument(document).toJson(), error);
    }

    bool configureBytes(const QByteArray& bytes, QString& error) const
    {
        const QString path = pathOf("cache.json");
        EXPECT_TRUE(writeFile(path, bytes));
        return cache().readCacheConfiguration(path, VERSION, error);
    }

    static QJsonObject document(const QJsonValue& path, const QJsonValue& size)
    {
        return {{"Version", VERSION}, {"Cache", QJsonObject{{"Path", path}, {"Size", size}}}};
    }

    QString existingDirectory() const { return pathOf("existing"); }
    const QString& pathBefore() const { return m_pathBefore; }

    void expectUnchanged() const
    {
        EXPECT_EQ(cache().getDefaultCachePath(), pathBefore());
        EXPECT_EQ(cache().getCacheSizeInBytes(), BUDGET_BEFORE);
    }

private:
    QString m_pathBefore;
};

// ---- the object

TEST(CacheManagerObject, StartsInTheTempDirectoryOfItsProcess)
{
    EXPECT_EQ(CacheManager::instance().getDefaultCachePath(),
              tempDirectory() + "/Cache/" + processId() + "/");
}

TEST(CacheManagerObject, StartsWithHalfOfTheAvailableMemory)
{
    const qint64 budget = CacheManager::instance().getCacheSizeInBytes();
    EXPECT_GT(budget, 0);
    const qint64 total = systemMemory("MemTotal");
    if (total > 0) {
        EXPECT_LT(budget, total / 2);
        // What was available when the cache was made is not far from what is now.
        EXPECT_GT(budget, systemMemory("MemAvailable") / 16);
    }
}

TEST(CacheManagerObject, IsOneForAll)
{
    EXPECT_EQ(&CacheManager::instance(), &nel::tools::Singleton<CacheManager>::instance());
    static_assert(std::is_convertible_v<CacheManager*, QObject*>);
    static_assert(std::is_constructible_v<CacheManager, nel::tools::Singleton<CacheManager>::token>);
    static_assert(!std::is_default_constructible_v<CacheManager>);
    EXPECT_EQ(CacheManager::instance().parent(), nullptr);
}

TEST_F(CacheConfiguration, AvailableMemoryIsNotTheTotal)
{
    const auto available = static_cast<qint64>((cache().*Peek::availableBytesPointer())());
    EXPECT_GT(available, 0);
    const qint64 total = systemMemory("MemTotal");
    if (total == 0) {
        GTEST_SKIP() << "the system does not tell its memory in /proc/meminfo";
    }
    EXPECT_LT(available, total);
    EXPECT_GT(available, systemMemory("MemAvailable") / 8);
}

TEST_F(CacheConfiguration, TheTempDirectoryIsTheFirstOfItsKind)
{
    EXPECT_EQ((cache().*Peek::tempDirectoryPointer())(), tempDirectory());
}

TEST_F(CacheConfiguration, TheBudgetIsTakenUnchecked)
{
    for (const qint64 bytes : {qint64(1), qint64(0), qint64(-5), qint64(1) << 50}) {
        cache().setCacheSizeInBytes(bytes);
        EXPECT_EQ(cache().getCacheSizeInBytes(), bytes);
    }
}

// ---- paths

struct PathRow
{
    const char* label;
    const char* given;
    const char* plain;      ///< without the process id
    const char* perProcess; ///< in front of the process id
};

const PathRow PATHS[] = {
    {"WithoutSlash", "D:/cache", "D:/cache/", "D:/cache/"},
    {"WithSlash", "D:/cache/", "D:/cache/", "D:/cache/"},
    {"TwoSlashes", "/tmp//", "/tmp//", "/tmp//"},
    {"DoubledInside", "/tmp//cache", "/tmp//cache/", "/tmp//cache/"},
    {"BackSlashes", "D:\\cache\\", "D:\\cache\\/", "D:\\cache\\/"},
    {"Root", "/", "/", "/"},
    {"Relative", "cache", "cache/", "cache/"},
    {"DotDot", "/tmp/a/../b", "/tmp/a/../b/", "/tmp/a/../b/"},
};

class CachePath : public CacheFixture, public ::testing::WithParamInterface<PathRow>
{};

TEST_P(CachePath, EndsInOneMoreSlashIfItHasNone)
{
    cache().setDefaultCachePath(GetParam().given, false);
    EXPECT_EQ(cache().getDefaultCachePath(), QString(GetParam().plain));
}

TEST_P(CachePath, TakesTheProcessIdAtItsEnd)
{
    cache().setDefaultCachePath(GetParam().given, true);
    EXPECT_EQ(cache().getDefaultCachePath(), GetParam().perProcess + processId() + "/");
}

INSTANTIATE_TEST_SUITE_P(Paths, CachePath, ::testing::ValuesIn(PATHS), RowLabel{});

// ---- the configuration file

TEST_F(CacheConfiguration, AnEmptyPathIsIgnored)
{
    const QString before = cache().getDefaultCachePath();
    cache().setDefaultCachePath(QString(), true);
    EXPECT_EQ(cache().getDefaultCachePath(), before);
}

TEST_F(CacheConfiguration, SetsPathAndBudget)
{
    QString error = "before";
    EXPECT_TRUE(configure(document(existingDirectory(), "1048576"), error));
    EXPECT_EQ(cache().getDefaultCachePath(), existingDirectory() + "/" + processId() + "/");
    EXPECT_EQ(cache().getCacheSizeInBytes(), 1048576);
    EXPECT_EQ(error, QString("before"));
}

TEST_F(CacheConfiguration, AutoAndAutoAreTheDefaults)
{
    QString error = "before";
    EXPECT_TRUE(configure(document("Auto", "Auto"), error));
    EXPECT_EQ(cache().getDefaultCachePath(), tempDirectory() + "/Cache/" + processId() + "/");
    EXPECT_EQ(cache().getCacheSizeInBytes(), BUDGET_BEFORE);
    EXPECT_EQ(error, QString("before"));
}

TEST_F(CacheConfiguration, OtherMembersAreIgnored)
{
    QJsonObject configuration = document(existingDirectory(), "Auto");
    configuration["Other"] = "text";
    QString error;
    EXPECT_TRUE(configure(configuration, error));
    EXPECT_EQ(cache().getCacheSizeInBytes(), BUDGET_BEFORE);
}

TEST_F(CacheConfiguration, TheDirectoryIsNotMadeYet)
{
    QString error;
    ASSERT_TRUE(configure(document(existingDirectory(), "Auto"), error));
    EXPECT_FALSE(QDir(cache().getDefaultCachePath()).exists());
}

struct SizeRow
{
    const char* label;
    QJsonValue size;
    qint64 bytes; ///< 0: the size is refused
};

const SizeRow SIZES[] = {
    {"One", "1", 1},
    {"OneMebibyte", "1048576", 1048576},
    {"Largest", "9223372036854775807", 9223372036854775807},
    {"LeadingZeros", "0012", 12},
    {"Zero", "0", 0},
    {"Negative", "-5", 0},
    {"Word", "abc", 0},
    {"Empty", "", 0},
    {"Number", 1000, 0},
    {"TooLarge", "9223372036854775808", 0},
    {"Fraction", "1.5", 0},
    {"Exponent", "1e6", 0},
    {"Unit", "64MiB", 0},
    {"Hexadecimal", "0x10", 0},
    {"OtherCase", "auto", 0},
    {"Null", QJsonValue::Null, 0},
    {"Missing", QJsonValue::Undefined, 0},
    {"Array", QJsonArray{"1"}, 0},
};

class CacheSize : public CacheConfiguration, public ::testing::WithParamInterface<SizeRow>
{};

TEST_P(CacheSize, IsADecimalTextOfAtLeastOneByte)
{
    QString error = "before";
    const bool done = configure(document(existingDirectory(), GetParam().size), error);
    EXPECT_EQ(done, GetParam().bytes > 0);
    EXPECT_EQ(error, QString(done ? "before" : "Invalid cache size"));
    EXPECT_EQ(cache().getCacheSizeInBytes(), done ? GetParam().bytes : BUDGET_BEFORE);
    EXPECT_EQ(cache().getDefaultCachePath(), existingDirectory() + "/" + processId() + "/")
        << "the path is applied before the size is looked at";
}

INSTANTIATE_TEST_SUITE_P(Values, CacheSize, ::testing::ValuesIn(SIZES), RowLabel{});

struct InvalidPathRow
{
    const char* label;
    QJsonValue path;
};

const InvalidPathRow INVALID_PATHS[] = {
    {"NotThere", "/no/such/directory"},
    {"OtherCase", "auto"},
    {"Empty", ""},
    {"Number", 7},
    {"Null", QJsonValue::Null},
    {"Missing", QJsonValue::Undefined},
};

class CacheInvalidPath : public CacheConfiguration, public ::testing::WithParamInterface<InvalidPathRow>
{};

TEST_P(CacheInvalidPath, IsRefusedBeforeTheSizeIsLookedAt)
{
    for (const char* size : {"1048576", "nonsense"}) {
        QString error = "before";
        EXPECT_FALSE(configure(document(GetParam().path, size), error));
        EXPECT_EQ(error, QString("Invalid Cache Path"));
        expectUnchanged();
    }
}

INSTANTIATE_TEST_SUITE_P(Values, CacheInvalidPath, ::testing::ValuesIn(INVALID_PATHS), RowLabel{});

TEST_F(CacheConfiguration, AFileIsNoDirectory)
{
    const QString file = pathOf("file");
    ASSERT_TRUE(writeFile(file, "x"));
    QString error;
    EXPECT_FALSE(configure(document(file, "Auto"), error));
    EXPECT_EQ(error, QString("Invalid Cache Path"));
    expectUnchanged();
}

struct BadDocumentRow
{
    const char* label;
    QByteArray bytes;
    const char* error;
};

const BadDocumentRow BAD_DOCUMENTS[] = {
    {"EmptyFile", "", "Empty document"},
    {"SyntaxError", "{\"Version\": 4,", "Empty document"},
    {"Array", "[1]", "Root JSON object not found"},
    {"NoVersion", "{\"Cache\": {\"Path\": \"Auto\", \"Size\": \"1\"}}", "unexpected version"},
    {"OlderVersion", "{\"Version\": 3, \"Cache\": {\"Path\": \"Auto\", \"Size\": \"1\"}}",
     "unexpected version"},
    {"NewerVersion", "{\"Version\": 5, \"Cache\": {\"Path\": \"Auto\", \"Size\": \"1\"}}",
     "unexpected version"},
    {"VersionAsText", "{\"Version\": \"4\"}", "unexpected version"},
    {"NoCache", "{\"Version\": 4}", "Cache object missing"},
    {"CacheAsText", "{\"Version\": 4, \"Cache\": \"Auto\"}", "Cache object missing"},
    {"CacheAsArray", "{\"Version\": 4, \"Cache\": []}", "Cache object missing"},
    {"CacheAsNull", "{\"Version\": 4, \"Cache\": null}", "Cache object missing"},
    {"OtherCase", "{\"Version\": 4, \"cache\": {}}", "Cache object missing"},
    {"EmptyCache", "{\"Version\": 4, \"Cache\": {}}", "Invalid Cache Path"},
};

class CacheBadDocument : public CacheConfiguration, public ::testing::WithParamInterface<BadDocumentRow>
{};

TEST_P(CacheBadDocument, IsRefusedAndChangesNothing)
{
    QString error = "before";
    EXPECT_FALSE(configureBytes(GetParam().bytes, error));
    EXPECT_EQ(error, QString(GetParam().error));
    expectUnchanged();
}

INSTANTIATE_TEST_SUITE_P(Documents, CacheBadDocument, ::testing::ValuesIn(BAD_DOCUMENTS), RowLabel{});

TEST_F(CacheConfiguration, AMissingFileIsNotFound)
{
    QString error = "before";
    EXPECT_FALSE(cache().readCacheConfiguration(pathOf("missing.json"), VERSION, error));
    EXPECT_EQ(error, QString("File not found"));
    expectUnchanged();
}

TEST_F(CacheConfiguration, ParametersAreReadFromAnOpenedDocument)
{
    QJsonObject root{{"Cache", QJsonObject{{"Path", existingDirectory()}, {"Size", "77"}}}};
    QString error = "before";
    EXPECT_TRUE((cache().*Peek::readParametersPointer())(root, error));
    EXPECT_EQ(cache().getCacheSizeInBytes(), 77);
    EXPECT_EQ(error, QString("before"));
    QJsonObject empty;
    EXPECT_FALSE((cache().*Peek::readParametersPointer())(empty, error));
    EXPECT_EQ(error, QString("Cache object missing"));
}

struct MessageRow
{
    const char* label;
    QByteArray bytes;
    const char* text;
};

const MessageRow MESSAGES[] = {
    {"CacheMissing", "{\"Version\": 4}", "Cache object missing"},
    {"InvalidPath", "{\"Version\": 4, \"Cache\": {\"Path\": \"/no/such\", \"Size\": \"1\"}}",
     "Invalid Cache Path"},
    {"InvalidSize", "{\"Version\": 4, \"Cache\": {\"Path\": \"/\", \"Size\": \"0\"}}", "Invalid cache size"},
};

class CacheMessage : public CacheConfiguration, public ::testing::WithParamInterface<MessageRow>
{};

TEST_P(CacheMessage, IsTranslatedInItsContext)
{
    RecordingTranslator translator;
    translator.teach("NelDataStorage", GetParam().text, "übersetzt");
    QString error;
    EXPECT_FALSE(configureBytes(GetParam().bytes, error));
    EXPECT_EQ(error, QString("übersetzt"));
    const RecordingTranslator::Call expected{"NelDataStorage", GetParam().text, false, -1};
    EXPECT_EQ(std::count(translator.calls().begin(), translator.calls().end(), expected), 1);
}

INSTANTIATE_TEST_SUITE_P(Texts, CacheMessage, ::testing::ValuesIn(MESSAGES), RowLabel{});

// ---- the directory

TEST_F(CacheConfiguration, CheckMakesTheDirectoryAndItsParents)
{
    cache().setDefaultCachePath(pathOf("a/b/c"), false);
    ASSERT_FALSE(QDir(pathOf("a")).exists());
    EXPECT_TRUE(cache().checkDefaultCacheDirectory());
    EXPECT_TRUE(QDir(pathOf("a/b/c")).exists());
    EXPECT_TRUE(cache().checkDefaultCacheDirectory());
}

TEST_F(CacheConfiguration, CheckFailsWhereAFileStands)
{
    ASSERT_TRUE(writeFile(pathOf("file"), "x"));
    cache().setDefaultCachePath(pathOf("file/cache"), false);
    EXPECT_FALSE(cache().checkDefaultCacheDirectory());
}

TEST_F(CacheConfiguration, RemoveTakesTheDirectoryWithEverythingInIt)
{
    cache().setDefaultCachePath(pathOf("a/b"), false);
    ASSERT_TRUE(cache().checkDefaultCacheDirectory());
    ASSERT_TRUE(QDir().mkpath(pathOf("a/b/c/d")));
    ASSERT_TRUE(writeFile(pathOf("a/b/c/file"), "x"));
    EXPECT_TRUE(cache().removeCacheDirectory());
    EXPECT_FALSE(QDir(pathOf("a/b")).exists());
    EXPECT_TRUE(QDir(pathOf("a")).exists());
    EXPECT_TRUE(cache().removeCacheDirectory()) << "nothing is there any more";
}

TEST_F(CacheConfiguration, ClearTakesThePlainFilesOnly)
{
    cache().setDefaultCachePath(pathOf("a"), false);
    ASSERT_TRUE(cache().checkDefaultCacheDirectory());
    ASSERT_TRUE(QDir().mkpath(pathOf("a/sub")));
    for (const char* name : {"a/one.bmd", "a/two.other", "a/with space", "a/sub/kept"}) {
        ASSERT_TRUE(writeFile(pathOf(name), "x"));
    }
    cache().clearCacheFiles();
    EXPECT_FALSE(QFile::exists(pathOf("a/one.bmd")));
    EXPECT_FALSE(QFile::exists(pathOf("a/two.other")));
    EXPECT_FALSE(QFile::exists(pathOf("a/with space")));
    EXPECT_TRUE(QFile::exists(pathOf("a/sub/kept")));
    EXPECT_TRUE(QDir(pathOf("a")).exists());
}

TEST_F(CacheConfiguration, ClearWithoutADirectoryDoesNothing)
{
    cache().setDefaultCachePath(pathOf("not/there"), false);
    cache().clearCacheFiles();
    EXPECT_FALSE(QDir(pathOf("not")).exists());
}
