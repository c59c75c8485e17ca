#include <datastorage/cache/CacheManager.h>
#include <datastorage/config/ConfigDataArrayManager.h>
#include <datastorage/config/DynamicEnumHandler.h>
#include <datastorage/units/Converter.h>

#include <support/Printers.h>

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

// The schema files for editors against the readers. That a schema validator comes to the stated verdicts
// on the same documents is checked by check_schemas.py.

namespace {

using namespace vx::datastorage;

const QString SOURCE_DIRECTORY = QStringLiteral(VXDATASTORAGE_SOURCE_DIR "/");
const QString DOCUMENTS = QStringLiteral(VXDATASTORAGE_TEST_DATA_DIR "/configurations/");

QJsonDocument readJson(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    EXPECT_FALSE(document.isNull()) << path.toStdString();
    return document;
}

class Schema : public testing::Test
{
protected:
    Schema() { Converter::init(); }

    ~Schema() override
    {
        nel::tools::Singleton<DynamicEnumHandler>::instance().deleteAll();
        Converter::clear();
    }

    using Reader = std::function<bool(const QString& path, QString& error)>;

    /// The reader takes the documents called "good" or "tolerated" and refuses the "bad" ones.
    static void expectVerdicts(const QString& documents, qsizetype atLeast, const Reader& read)
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("configuration.json");
        QSet<QString> verdicts;
        const QJsonArray rows = readJson(documents).array();
        ASSERT_GE(rows.size(), atLeast);
        for (const QJsonValue row : rows) {
            SCOPED_TRACE(row["label"].toString().toStdString());
            QFile file(path);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly));
            file.write(QJsonDocument(row["document"].toObject()).toJson());
            file.close();
            QString error;
            EXPECT_EQ(read(path, error), row["verdict"].toString() != "bad") << error.toStdString();
            verdicts.insert(row["verdict"].toString());
        }
        EXPECT_EQ(verdicts, (QSet<QString>{"good", "tolerated", "bad"}));
    }

    static QJsonObject variableSchema()
    {
        QJsonValue schema =
            readJson(SOURCE_DIRECTORY + "docs/schema/data-configuration.schema.json").object();
        for (const char* key : {"properties", "Measures", "additionalProperties", "items", "properties"}) {
            schema = schema[QLatin1String(key)];
            EXPECT_TRUE(schema.isObject()) << key;
        }
        return schema.toObject();
    }
};

TEST_F(Schema, DataConfigurationsGetTheirVerdictFromTheReader)
{
    expectVerdicts(DOCUMENTS + "data.json", 40, [](const QString& path, QString& error) {
        ConfigDataArrayManager manager;
        const bool isRead = manager.readDataConfiguration(path, 1, error);
        manager.deleteAllAndClear();
        return isRead;
    });
}

TEST_F(Schema, CacheConfigurationsGetTheirVerdictFromTheReader)
{
    CacheManager& cache = nel::tools::Singleton<CacheManager>::instance();
    const QString path = cache.getDefaultCachePath();
    const qint64 size = cache.getCacheSizeInBytes();
    expectVerdicts(DOCUMENTS + "cache.json", 20, [&cache](const QString& document, QString& error) {
        return cache.readCacheConfiguration(document, 1, error);
    });
    cache.setDefaultCachePath(path, false);
    cache.setCacheSizeInBytes(size);
}

TEST_F(Schema, ListsThePhysicalParameters)
{
    QStringList names;
    for (int number = ParameterNone;
         Converter::getMainUnit(static_cast<PhysicalParameter>(number)) != UsualUnit(); ++number) {
        names.append(Converter::castPhysicalParameterAsString(static_cast<PhysicalParameter>(number)));
    }
    QStringList listed;
    for (const QJsonValue name : variableSchema().value("PhysicalParameter")["enum"].toArray()) {
        listed.append(name.toString());
    }
    EXPECT_EQ(names.size(), 67);
    EXPECT_EQ(listed, names);
}

TEST_F(Schema, KnowsTheTypes)
{
    EXPECT_EQ(variableSchema().value("Type")["enum"].toArray(), (QJsonArray{"FLOAT", "INT", "ENUM"}));
}

TEST_F(Schema, TakesEveryUnitAndNothingElse)
{
    const QRegularExpression pattern(variableSchema().value("Unit")["pattern"].toString());
    ASSERT_TRUE(pattern.isValid());
    for (auto symbol = UsualUnit::MAPPING_UNIT_STRING.cbegin();
         symbol != UsualUnit::MAPPING_UNIT_STRING.cend(); ++symbol) {
        EXPECT_EQ(pattern.match(symbol.value()).hasMatch(), symbol.key() != UnitUnknown)
            << symbol.value().toStdString();
    }
    int composites = 0;
    for (int number = ParameterNone; number <= ParameterVolumeDqDu; ++number) {
        for (const UsualUnit& unit : Converter::getAvailableUnits(static_cast<PhysicalParameter>(number))) {
            const QString text = UsualUnit::castUsualUnitAsString(unit);
            composites += unit.hasUnit2() ? 1 : 0;
            EXPECT_TRUE(pattern.match(text).hasMatch()) << text.toStdString();
        }
    }
    EXPECT_GT(composites, 500);
    for (const char* text : {"xyz", "Volt", "v", "mA h", " V", "V ", "./", "mA.xyz", "xyz/V", "Unknown"}) {
        EXPECT_FALSE(pattern.match(text).hasMatch()) << text;
    }
}

TEST_F(Schema, BuiltInConfigurationDeclaresTheUsualArrays)
{
    ConfigDataArrayManager manager;
    QString error;
    ASSERT_TRUE(manager.readDataConfiguration(SOURCE_DIRECTORY + "cli/data/default-data-configuration.json",
                                              1, error))
        << error.toStdString();

    QSet<QPair<QString, QString>> names;
    QSet<PhysicalParameter> parameters;
    for (const ConfigDataArray* array : manager.getConfigDataArrayList()) {
        SCOPED_TRACE(array->getName().toStdString());
        names.insert({array->getCategory(), array->getName()});
        parameters.insert(array->getPhysicalParameter());
        EXPECT_FALSE(array->getName().isEmpty());
        EXPECT_TRUE(Converter::getAvailableUnits(array->getPhysicalParameter()).contains(array->getUnit()))
            << "the unit does not measure the parameter";
    }
    EXPECT_EQ(names.size(), manager.getConfigDataArrayList().size()) << "a name is declared twice";
    for (const PhysicalParameter parameter :
         {ParameterTime, ParameterVoltage, ParameterElectricCurrent, ParameterElectricCharge, ParameterEnergy,
          ParameterPower, ParameterTemperature, ParameterRatio, ParameterFrequency, ParameterResistance,
          ParameterAngle}) {
        EXPECT_TRUE(parameters.contains(parameter)) << parameter;
    }
    for (const char* counter : {"Cycle", "Step"}) {
        const QList<ConfigDataArray*> arrays = manager.getConfigDataArrayFromName(counter);
        ASSERT_EQ(arrays.size(), 1) << counter;
        EXPECT_EQ(arrays.first()->getType(), Int) << counter;
    }
    manager.deleteAllAndClear();
}

} // namespace
