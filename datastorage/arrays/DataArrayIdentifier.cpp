#include <datastorage/arrays/DataArrayIdentifier.h>

namespace vx::datastorage {

DataArrayIdentifier::DataArrayIdentifier(const QString& name, const QString& category)
    : m_name(name), m_category(category)
{}

DataArrayIdentifier::~DataArrayIdentifier() = default;

bool DataArrayIdentifier::read(const QJsonObject& object, int /*version*/,
                               vx::archive::ArchiveContext& /*context*/)
{
    m_name = object.value(QStringLiteral("name")).toString();
    m_category = object.value(QStringLiteral("category")).toString();
    return true;
}

bool DataArrayIdentifier::write(QJsonObject& object, int /*version*/,
                                vx::archive::ArchiveContext& /*context*/) const
{
    object.insert(QStringLiteral("name"), m_name);
    object.insert(QStringLiteral("category"), m_category);
    return true;
}

const QString& DataArrayIdentifier::getName() const
{
    return m_name;
}

void DataArrayIdentifier::setName(const QString& name)
{
    m_name = name;
}

const QString& DataArrayIdentifier::getCategory() const
{
    return m_category;
}

void DataArrayIdentifier::setCategory(const QString& category)
{
    m_category = category;
}

} // namespace vx::datastorage
