#pragma once

#include "InputError.h"

#include <QtCore/QString>

namespace vx::cli {

/// The template of a translation, in Qt's ".ts" format, for everything that the reader of the JSON file
/// `fileName` looks up: each text once, in its context. Texts that the reader compares with fixed names
/// (parameters, types, units) are finished as they are. `language` may be empty. A null text, with `error`
/// set, when the file cannot be read.
QString translationTemplate(const QString& fileName, const QString& language, InputError& error);

} // namespace vx::cli
