#include <datastorage/config/DynamicEnumHandler.h>

#include <utility>

// Exported as the header's declaration says.
template class nel::tools::Singleton<vx::datastorage::DynamicEnumHandler>;

namespace vx::datastorage {

DynamicEnumHandler::DynamicEnumHandler(nel::tools::Singleton<DynamicEnumHandler>::token /*token*/) {}

DynamicEnumHandler::~DynamicEnumHandler() = default;

DynamicEnum* DynamicEnumHandler::addEnum(std::unique_ptr<DynamicEnum> e)
{
    Q_ASSERT(e != nullptr);
    if (e == nullptr) {
        return nullptr;
    }
    std::unique_ptr<DynamicEnum>& entry = m_enums[e->getName()];
    entry = std::move(e);
    return entry.get();
}

DynamicEnum* DynamicEnumHandler::getEnum(const QString& name) const
{
    const auto entry = m_enums.find(name);
    return entry == m_enums.end() ? nullptr : entry->second.get();
}

void DynamicEnumHandler::deleteAll()
{
    m_enums.clear();
}

} // namespace vx::datastorage
