#pragma once

#include <QtCore/QString>

namespace vx::archive {

/// What the application's archive layer tells every read() and write() of a document.
///
/// Stand-in with which the library builds alone. An application that has its own archive layer names
/// the directory of its `archive/ArchiveContext.h` with the CMake variable
/// `VXDATASTORAGE_ARCHIVE_INCLUDE_DIR`; its type needs the two members below.
struct ArchiveContext
{
    /// Path of the data source that is being read; streamed arrays are filed in the cache under it.
    QString dataSourcePath;
    /// Whether units are written in their printed form, for export, instead of by number.
    bool unitsAsText = false;
};

} // namespace vx::archive
