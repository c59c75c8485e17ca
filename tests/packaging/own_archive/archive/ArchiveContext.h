#pragma once

#include <QtCore/QString>

#include <vector>

#define APPLICATION_HAS_ITS_OWN_ARCHIVE 1

namespace vx::archive {

/// As an application with an archive layer of its own has it: another type, more members, the two that
/// the library reads among them.
class ArchiveContext
{
public:
    std::vector<int> pending;
    QString title;
    QString dataSourcePath;
    bool unitsAsText = false;
};

} // namespace vx::archive
