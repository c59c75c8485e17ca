#include <datastorage/config/ConfigDataArrayManager.h>

#include <datastorage/arrays/DataType.h>
#include <datastorage/config/ConfigLog_p.h>
#include <datastorage/config/DynamicEnum.h>
#include <datastorage/config/DynamicEnumHandler.h>
#include <datastorage/units/Converter.h>

#include <json/JsonUtils.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QJsonArray>
#include <QtCore/QSet>

#include <algorithm>
#include <iterator>
#include <memory>

namespace vx::datastorage {

namespace {

constexpr const char* TRANSLATION_CONTEXT = "VXDataStorage";

QString textOf(const QJsonObject& object, QLatin1String key)
{
    const auto member = object.constFind(key);
    return member == object.constEnd() ? QString() : member->toString();
}

void readLabels(DynamicEnum& dynamicEnum, const QJsonObject& labels)
{
    for (auto label = labels.constBegin(); label != labels.constEnd(); ++label) {
        dynamicEnum.addKeyValue(label.key().toStdString(), QJsonValue(label.value()).toInt(0));
    }
}

template <typename Predicate>
QList<ConfigDataArray*> filter(const QList<ConfigDataArray*>& arrays, Predicate predicate)
{
    QList<ConfigDataArray*> result;
    std::copy_if(arrays.begin(), arrays.end(), std::back_inserter(result), predicate);
    return result;
}

} // namespace

ConfigDataArrayManager::~ConfigDataArrayManager() = default;

bool ConfigDataArrayManager::readDataConfiguration(const QString& filePath, int version, QString& error)
{
    QJsonObject root;
    const bool isRead = JsonUtils::openJsonDocument(filePath, error, root) &&
                        JsonUtils::checkVersionNumber(root, version, error) && readEnumArray(root, error) &&
                        readMeasuresArray(root, error);
    if (isRead)
        qCDebug(configLog) << "read" << filePath << "arrays:" << m_arrays.size();
    else
        qCDebug(configLog) << "refused" << filePath << error;
    return isRead;
}

QList<ConfigDataArray*> ConfigDataArrayManager::getConfigDataArrayFromCategory(const QString& category) const
{
    return filter(m_arrays, [&](const ConfigDataArray* array) { return array->getCategory() == category; });
}

ConfigDataArray* ConfigDataArrayManager::getConfigDataArrayFromNameAndCategory(const QString& name,
                                                                               const QString& category) const
{
    const auto found = std::find_if(m_arrays.begin(), m_arrays.end(), [&](const ConfigDataArray* array) {
        return array->getName() == name && array->getCategory() == category;
    });
    return found == m_arrays.end() ? nullptr : *found;
}

QList<ConfigDataArray*> ConfigDataArrayManager::getConfigDataArrayFromName(const QString& name) const
{
    return filter(m_arrays, [&](const ConfigDataArray* array) { return array->getName() == name; });
}

void ConfigDataArrayManager::append(ConfigDataArray* array)
{
    if (array != nullptr) {
        m_arrays.append(array);
    }
}

void ConfigDataArrayManager::deleteAllAndClear()
{
    QSet<const ConfigDataArray*> deleted;
    for (const ConfigDataArray* array : std::as_const(m_arrays)) {
        if (!deleted.contains(array)) {
            deleted.insert(array);
            delete array;
        }
    }
    m_arrays.clear();
}

QList<ConfigDataArray*> ConfigDataArrayManager::getConfigDataArrayList() const
{
    return m_arrays;
}

QList<ConfigDataArray*> ConfigDataArrayManager::getConfigDataArrayListOfType(DataConfigType type) const
{
    return filter(m_arrays,
                  [type](const ConfigDataArray* array) { return array->getDataConfigType() == type; });
}

QList<ConfigDataArray*> ConfigDataArrayManager::getConfigDataArrayListExcludingType(DataConfigType type) const
{
    return filter(m_arrays,
                  [type](const ConfigDataArray* array) { return array->getDataConfigType() != type; });
}

QList<ConfigDataArray*>
ConfigDataArrayManager::getConfigDataArrayListOfTypeFromCategory(const QString& category,
                                                                 DataConfigType type) const
{
    return filter(m_arrays, [&](const ConfigDataArray* array) {
        return array->getDataConfigType() == type && array->getCategory() == category;
    });
}

bool ConfigDataArrayManager::readEnumArray(const QJsonObject& root, QString& error)
{
    const QJsonValue value = root.value(QLatin1String("Enum"));
    if (!value.isObject()) {
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "Enum object missing");
        return false;
    }
    DynamicEnumHandler& handler = nel::tools::Singleton<DynamicEnumHandler>::instance();
    const QJsonObject enums = value.toObject();
    for (auto member = enums.constBegin(); member != enums.constEnd(); ++member) {
        DynamicEnum* filed = handler.addEnum(std::make_unique<DynamicEnum>(member.key()));
        readLabels(*filed, member->toObject());
    }
    return true;
}

bool ConfigDataArrayManager::readMeasuresArray(const QJsonObject& root, QString& error)
{
    const QJsonValue value = root.value(QLatin1String("Measures"));
    if (!value.isObject()) {
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "Measures object missing");
        return false;
    }
    const QJsonObject categories = value.toObject();
    for (auto member = categories.constBegin(); member != categories.constEnd(); ++member) {
        const QString category = member.key();
        const QJsonArray variables = member->toArray();
        for (auto variable = variables.constBegin(); variable != variables.constEnd(); ++variable) {
            ConfigDataArray* array = readVariable(category, *variable, error);
            if (array == nullptr) {
                return false;
            }
            append(array);
        }
    }
    return true;
}

ConfigDataArray* ConfigDataArrayManager::readVariable(const QString& category, const QJsonValue& value,
                                                      QString& error)
{
    const QJsonObject variable = value.toObject();
    const QString parameterText = textOf(variable, QLatin1String("PhysicalParameter"));
    // Each text is looked up once: it is known exactly if the look-up gives a known value.
    const PhysicalParameter parameter = Converter::getPhysicalParameterFromString(parameterText);
    if (parameter == ParameterUnknown) {
        error =
            QCoreApplication::translate(TRANSLATION_CONTEXT, "PhysiscalParameter unknown :") + parameterText;
        return nullptr;
    }
    const QString typeText = textOf(variable, QLatin1String("Type"));
    if (!isValidType(typeText)) {
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "Type unknown :") + typeText;
        return nullptr;
    }
    const QString unitText = textOf(variable, QLatin1String("Unit"));
    const UsualUnit unit = Converter::getUsualUnitFromString(unitText);
    if (unit.isUnknown()) {
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "Unit unknown :") + unitText;
        return nullptr;
    }
    ConfigDataArray* array = createConfigDataArray();
    if (array == nullptr) {
        return nullptr;
    }
    array->setName(textOf(variable, QLatin1String("Name")));
    array->setPhysicalParameter(parameter);
    array->setType(getDataTypeFromString(typeText));
    array->setUnit(unit);
    array->setCategory(category);
    return array;
}

ConfigDataArray* ConfigDataArrayManager::createConfigDataArray()
{
    return new ConfigDataArray();
}

} // namespace vx::datastorage
