#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/units/Converter.h>

#include <json/JsonUtils.h>
#include <support/LogCapture.h>

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// Files are read and refused, and units are met that nobody knows.
class ConfigLog : public testing::Test
{
protected:
    void SetUp() override { Converter::init(); }
    void TearDown() override
    {
        m_manager.deleteAllAndClear();
        Converter::clear();
    }

    QString file(const QByteArray& bytes)
    {
        QString path = m_directory.filePath("data.json");
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return path;
    }

    void readEverything()
    {
        QString error;
        const QByteArray good = R"({"Version": 1, "Enum": {}, "Measures": {"Cell": [
            {"Name": "U", "PhysicalParameter": "Voltage", "Type": "FLOAT", "Unit": "V"}]}})";
        EXPECT_TRUE(m_manager.readDataConfiguration(file(good), 1, error));
        EXPECT_FALSE(m_manager.readDataConfiguration(file("{]"), 1, error));
        EXPECT_FALSE(m_manager.readDataConfiguration(m_directory.filePath("none.json"), 1, error));
        EXPECT_TRUE(Converter::getUsualUnitFromString("furlong").isUnknown());
        EXPECT_FALSE(Converter::getUsualUnitFromString("mA.h").isUnknown());
    }

    /// The lines of everything with `category` enabled.
    QStringList linesOf(const QString& category)
    {
        const LogCapture log;
        LogCapture::enable(category);
        readEverything();
        return LogCapture::taken();
    }

private:
    QTemporaryDir m_directory;
    ConfigDataArrayManager m_manager;
};

} // namespace

TEST_F(ConfigLog, IsQuietUnlessAsked)
{
    const LogCapture log;
    readEverything();
    EXPECT_EQ(LogCapture::taken(), QStringList());
}

TEST_F(ConfigLog, TellsOfConfigurations)
{
    const QStringList lines = linesOf("vx.datastorage.config");
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines[0].startsWith("vx.datastorage.config: read ")) << lines[0].toStdString();
    EXPECT_TRUE(lines[0].endsWith("arrays: 1"));
    EXPECT_TRUE(lines[1].endsWith("\"Empty document\"")) << lines[1].toStdString();
    EXPECT_TRUE(lines[2].endsWith("\"File not found\"")) << lines[2].toStdString();
}

TEST_F(ConfigLog, TellsWhatIsWrongWithAFile)
{
    const QStringList lines = linesOf("vx.datastorage.json");
    ASSERT_EQ(lines.size(), 2);
    EXPECT_TRUE(lines[0].startsWith("vx.datastorage.json: ")) << lines[0].toStdString();
    EXPECT_TRUE(lines[0].contains("data.json\" cannot be read: ")) << lines[0].toStdString();
    EXPECT_TRUE(lines[0].contains(" at byte ")) << lines[0].toStdString();
    EXPECT_TRUE(lines[1].contains("none.json\" cannot be opened: ")) << lines[1].toStdString();
}

TEST_F(ConfigLog, TellsOfTextsThatAreNoUnit)
{
    EXPECT_EQ(linesOf("vx.datastorage.units"), QStringList{"vx.datastorage.units: unknown unit \"furlong\""});
}
