#pragma once

#include "heading/UnitText.h"

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <vector>

namespace vx::cli {

/// One column of a table as a streamed array. Its samples are in the main unit of its parameter.
struct MeasuredColumn
{
    QString heading;      ///< as it stands in the table
    QString declaredName; ///< of the declared array that it was matched with; empty when none fitted
    /// In which values are shown, by default that of the heading.
    datastorage::UsualUnit displayUnit;
    std::unique_ptr<datastorage::DataArrayInfoStreamed> array;
};

/// A table whose columns are filed in the cache.
struct MeasuredTable
{
    QString path; ///< as the user named it
    QString key;  ///< under which the arrays are filed: the absolute path
    qint64 rows = 0;
    QStringList warnings;
    std::vector<MeasuredColumn> columns; ///< in the order of the table
};

} // namespace vx::cli
