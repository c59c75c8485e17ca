#include <datastorage/arrays/DataArrayInfo.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/units/Converter.h>

#include <docs/DocsPage.h>
#include <support/Printers.h>

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

using namespace vx::datastorage;

namespace {

/// The examples of the page: cache configuration, data configuration, descriptor.
class JsonFormatsPage : public testing::Test
{
protected:
    void SetUp() override
    {
        Converter::init();
        ASSERT_TRUE(m_directory.isValid());
        ASSERT_EQ(m_examples.size(), 3);
    }

    QJsonObject example(int place) const
    {
        return QJsonDocument::fromJson(m_examples[place].toUtf8()).object();
    }

    QString written(const QJsonObject& object) const
    {
        QString path = m_directory.filePath("example.json");
        QFile file(path);
        if (file.open(QIODevice::WriteOnly))
            file.write(QJsonDocument(object).toJson());
        return path;
    }

private:
    QTemporaryDir m_directory;
    QStringList m_examples = codeBlocks(readPage("json-formats.md"), "json");
};

TEST_F(JsonFormatsPage, ShowsACacheConfigurationThatIsAccepted)
{
    CacheManager& cache = CacheManager::instance();
    const qint64 budget = cache.getCacheSizeInBytes();
    const QString directory = cache.getDefaultCachePath();
    QJsonObject root = example(0);
    QJsonObject members = root["Cache"].toObject();
    ASSERT_FALSE(members["Path"].toString().isEmpty());
    members["Path"] = QDir::tempPath(); // the one of the page need not exist here
    root["Cache"] = members;

    QString error;
    EXPECT_TRUE(cache.readCacheConfiguration(written(root), 1, error)) << error.toStdString();
    EXPECT_EQ(cache.getCacheSizeInBytes(), 268435456);

    cache.setCacheSizeInBytes(budget);
    cache.setDefaultCachePath(directory, false);
}

TEST_F(JsonFormatsPage, ShowsADataConfigurationThatIsAccepted)
{
    ConfigDataArrayManager manager;
    QString error;
    EXPECT_TRUE(manager.readDataConfiguration(written(example(1)), 1, error)) << error.toStdString();
    const QList<ConfigDataArray*> arrays = manager.getConfigDataArrayFromCategory("Cell");
    ASSERT_EQ(arrays.size(), 3);
    EXPECT_EQ(arrays[1]->getPhysicalParameter(), ParameterMassElectricCharge);
    manager.deleteAllAndClear();
}

TEST_F(JsonFormatsPage, ShowsADescriptorThatReadsBackAsItIsWritten)
{
    QJsonObject shown = example(2);
    shown.remove("dataArray"); // that of a streamed array alone
    DataArrayInfo info;
    vx::archive::ArchiveContext context;
    ASSERT_TRUE(info.read(shown, 1, context));
    EXPECT_EQ(info.getName(), "Voltage");

    QJsonObject again;
    info.createDataArray();
    ASSERT_TRUE(info.write(again, 1, context));
    EXPECT_EQ(again.keys(), shown.keys());
    EXPECT_EQ(again["dataUnit"], shown["dataUnit"]);
    EXPECT_EQ(again["streamSetIdentifier"], shown["streamSetIdentifier"]);
}

} // namespace
