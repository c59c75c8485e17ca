#pragma once

#include <datastorage/Export.h>
#include <datastorage/config/DynamicEnum.h>

#include <tools/Singleton.h>

#include <QtCore/QString>

#include <memory>
#include <unordered_map>

namespace vx::datastorage {
class DynamicEnumHandler;
}

/// The one object lives in the library; applications reach it and never make their own.
extern template class VXDATASTORAGE_EXPORT nel::tools::Singleton<vx::datastorage::DynamicEnumHandler>;

namespace vx::datastorage {

/// Every run-time enumeration of the process, by name. The registry owns them.
///
/// Reached through `nel::tools::Singleton<DynamicEnumHandler>::instance()`; made on first use, destroyed
/// when the library is unloaded. A pointer it hands out is valid until an enumeration of the same name
/// is added, or deleteAll(), or the end of the process.
///
/// Threads: instance() may be called from any thread, everything else from one thread at a time.
class VXDATASTORAGE_EXPORT DynamicEnumHandler : public nel::tools::Singleton<DynamicEnumHandler>
{
public:
    /// Empty; only the singleton has a token.
    explicit DynamicEnumHandler(nel::tools::Singleton<DynamicEnumHandler>::token token);
    ~DynamicEnumHandler();

    /// Files `e`, which must not be null, under the name it has now and returns it. An enumeration
    /// filed under that name before is destroyed.
    DynamicEnum* addEnum(std::unique_ptr<DynamicEnum> e);

    /// The enumeration filed under exactly this name, or null.
    DynamicEnum* getEnum(const QString& name) const;

    /// Destroys every enumeration.
    void deleteAll();

private:
    std::unordered_map<QString, std::unique_ptr<DynamicEnum>> m_enums;
};

} // namespace vx::datastorage
