#include <datastorage/cache/CacheManager.h>
#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/units/Converter.h>

#include <support/Printers.h>
#include <support/RecordingTranslator.h>

#include <json/JsonUtils.h>

#include <QtCore/QFile>
#include <QtCore/QJsonObject>
#include <QtCore/QLocale>
#include <QtCore/QTemporaryDir>
#include <QtCore/QXmlStreamReader>

#include <gtest/gtest.h>

#include <map>
#include <set>

using namespace vx::datastorage;

namespace {

/// Context and source text.
using Text = std::pair<std::string, std::string>;

const QString directory = VXDATASTORAGE_SOURCE_DIR "/i18n/";
const QString defaultConfiguration = VXDATASTORAGE_SOURCE_DIR "/cli/data/default-data-configuration.json";

/// The translations in a .ts file; that of a text that is not finished is empty.
std::map<Text, QString> readTranslations(const QString& name)
{
    QFile file(directory + name);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
    QXmlStreamReader xml(&file);
    std::map<Text, QString> translations;
    std::string context;
    std::string source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name"))
            context = xml.readElementText().toStdString();
        else if (xml.name() == QLatin1String("source"))
            source = xml.readElementText().toStdString();
        else if (xml.name() == QLatin1String("translation")) {
            const bool isFinished = !xml.attributes().hasAttribute("type");
            const QString text = xml.readElementText();
            translations[{context, source}] = isFinished ? text : QString();
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return translations;
}

std::set<Text> textsOf(const std::map<Text, QString>& translations)
{
    std::set<Text> texts;
    for (const auto& [text, translation] : translations)
        texts.insert(text);
    return texts;
}

std::set<Text> textsOf(const RecordingTranslator& translator)
{
    std::set<Text> texts;
    for (const RecordingTranslator::Call& call : translator.calls())
        texts.insert({call.context, call.text});
    return texts;
}

/// Reads a file with this content as both kinds of configuration.
void readBoth(const QTemporaryDir& place, const QByteArray& content)
{
    QFile file(place.filePath("configuration.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(content), content.size());
    file.close();
    QString error;
    ConfigDataArrayManager manager;
    manager.readDataConfiguration(file.fileName(), 1, error);
    CacheManager::instance().readCacheConfiguration(file.fileName(), 1, error);
    manager.deleteAllAndClear();
}

constexpr const char* REFUSED[] = {
    "",
    "[]",
    "{}",
    R"({"Version": 1})",
    R"({"Version": 1, "Enum": {}, "Cache": {}})",
    R"({"Version": 1, "Cache": {"Path": "Auto"}})",
    R"({"Version": 1, "Cache": {"Path": "no such directory", "Size": "Auto"}})",
    R"({"Version": 1, "Cache": {"Path": "Auto", "Size": "0"}})",
    R"({"Version": 1, "Enum": {}, "Measures": {"C": [{}]}})",
    R"({"Version": 1, "Enum": {}, "Measures": {"C": [{"PhysicalParameter": "Time"}]}})",
    R"({"Version": 1, "Enum": {}, "Measures": {"C": [{"PhysicalParameter": "Time", "Type": "INT", "Unit": "?"}]}})",
};

TEST(TranslationTemplate, ListsEveryMessageOfTheLibraryAndNoOther)
{
    Converter::init();
    const QTemporaryDir place;
    RecordingTranslator translator;
    QString error;
    QJsonObject root;
    JsonUtils::openJsonDocument(place.filePath("missing.json"), error, root);
    CacheManager& cache = CacheManager::instance();
    const QString path = cache.getDefaultCachePath();
    const qint64 budget = cache.getCacheSizeInBytes();
    for (const char* content : REFUSED)
        readBoth(place, content);
    cache.setDefaultCachePath(path, false);
    cache.setCacheSizeInBytes(budget);

    std::set<Text> messages;
    for (const Text& text : textsOf(translator)) {
        if (text.first == "vx_batterydata" || text.first == "VXDataStorage" || text.first == "NelDataStorage")
            messages.insert(text);
    }
    EXPECT_EQ(textsOf(readTranslations("vxdatastorage.ts")), messages);
    EXPECT_EQ(messages.size(), 12U);
}

class TranslationFile : public testing::TestWithParam<const char*>
{};

INSTANTIATE_TEST_SUITE_P(Languages, TranslationFile, testing::Values("de", "fr"),
                         [](const auto& row) { return std::string(row.param); });

TEST_P(TranslationFile, TranslatesEveryMessage)
{
    const auto translations = readTranslations(QString("vxdatastorage_%1.ts").arg(GetParam()));
    EXPECT_EQ(textsOf(translations), textsOf(readTranslations("vxdatastorage.ts")));
    for (const auto& [text, translation] : translations) {
        SCOPED_TRACE(text.second);
        EXPECT_FALSE(translation.isEmpty());
        EXPECT_NE(translation.toStdString(), text.second);
        // What was read follows behind a colon.
        EXPECT_EQ(translation.endsWith(": "), text.second.back() == ':');
    }
}

TEST_P(TranslationFile, TranslatesTheConfigurationThatComesWithTheProgram)
{
    Converter::init();
    const auto translations = readTranslations(QString("default-data-configuration_%1.ts").arg(GetParam()));
    RecordingTranslator translator;
    for (const auto& [text, translation] : translations) {
        EXPECT_FALSE(translation.isEmpty()) << text.second;
        translator.teach(text.first, text.second, translation);
    }
    ConfigDataArrayManager manager;
    QString error;
    EXPECT_TRUE(manager.readDataConfiguration(defaultConfiguration, 1, error)) << error.toStdString();
    EXPECT_EQ(textsOf(translations), textsOf(translator));
    EXPECT_EQ(manager.getConfigDataArrayList().size(), 18);
    EXPECT_TRUE(manager.getConfigDataArrayFromName("Voltage").isEmpty());
    manager.deleteAllAndClear();
}

TEST_P(TranslationFile, WorksWhenItIsCompiled)
{
    const QString compiled = VXDATASTORAGE_TRANSLATIONS_DIR;
    if (compiled.isEmpty())
        GTEST_SKIP() << "there is no lrelease here (Debian: qt6-l10n-tools)";
    QTranslator translator;
    ASSERT_TRUE(translator.load(QLocale(GetParam()), "vxdatastorage", "_", compiled));
    ASSERT_TRUE(QCoreApplication::installTranslator(&translator));
    QString error;
    QJsonObject root;
    const QTemporaryDir place;
    EXPECT_FALSE(JsonUtils::openJsonDocument(place.filePath("missing.json"), error, root));
    const auto translations = readTranslations(QString("vxdatastorage_%1.ts").arg(GetParam()));
    EXPECT_EQ(error, translations.at({"vx_batterydata", "File not found"}));
    QCoreApplication::removeTranslator(&translator);
}

} // namespace
