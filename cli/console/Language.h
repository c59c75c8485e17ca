#pragma once

#include <QtCore/QString>

namespace vx::cli {

/// Has the library's messages translated from now on. `language` is a name such as "de" or "fr_CA"; "en" is
/// the language of the messages themselves. False with `error` set when there is no translation.
bool useLanguage(const QString& language, QString& error);

/// Has the texts of a data configuration translated from now on, by the file CONFIGURATION_LANGUAGE.qm beside
/// it or among the installed translations. Does nothing when there is none.
void useLanguageOf(const QString& configuration, const QString& language);

} // namespace vx::cli
