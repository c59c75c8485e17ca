#pragma once

#include <QtCore/QString>

namespace vx::cli {

/// What is wrong with an input, and where. Printed as one line: "FILE:LINE:COLUMN: text".
struct InputError
{
    /// The file as the user named it.
    QString file;
    /// Line from 1; 0 when the file as a whole is meant.
    qint64 line = 0;
    /// Cell of the line from 1; 0 when the line as a whole is meant.
    qint64 column = 0;
    /// What was expected, and what stood there.
    QString text;
};

/// The error as the one line that goes to the standard error stream, without the program's name.
QString formatError(const InputError& error);

} // namespace vx::cli
