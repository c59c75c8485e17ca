#pragma once

#include "heading/Heading.h"

#include <datastorage/config/ConfigDataArray.h>

#include <QtCore/QList>

namespace vx::cli {

/// Finds the declared array that a column heading stands for.
///
/// A heading fits a declared array when its unit measures the array's physical parameter (or it has no
/// unit) and its name is that of the array: the same text in any case, the same words with another
/// division or a number behind them, a usual symbol ("E", "I", "t") or a word of the same meaning
/// ("capacity" for a charge). Of several fitting arrays the one with the closest name is taken, of equally
/// close ones the first declared.
class ArrayMatcher
{
public:
    /// The declared arrays stay the caller's and must outlive the matcher.
    explicit ArrayMatcher(QList<datastorage::ConfigDataArray*> declared);

    /// The declared array, or null when none fits. A tentative unit is taken off the name or left on it,
    /// whichever fits; `heading` then says which.
    const datastorage::ConfigDataArray* match(Heading& heading) const;

private:
    const datastorage::ConfigDataArray* closest(const Heading& heading) const;

    QList<datastorage::ConfigDataArray*> m_declared;
};

/// How close two names are: 0 for nothing in common, larger for closer.
int nameCloseness(const QString& heading, const QString& declared);

} // namespace vx::cli
