#include "InputError.h"

namespace vx::cli {

QString formatError(const InputError& error)
{
    QString line = error.file;
    if (error.line > 0) {
        line += QLatin1Char(':') + QString::number(error.line);
        if (error.column > 0) {
            line += QLatin1Char(':') + QString::number(error.column);
        }
    }
    if (!line.isEmpty()) {
        line += QStringLiteral(": ");
    }
    QString text = error.text.trimmed();
    text.replace(QLatin1Char('\n'), QLatin1Char(' '));
    text.replace(QLatin1Char('\r'), QLatin1Char(' '));
    return line + text;
}

} // namespace vx::cli
