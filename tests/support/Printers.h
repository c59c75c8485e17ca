#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <ostream>

// Qt's texts print as text in the messages of failed tests, not as lists of bytes.

inline void PrintTo(const QString& text, std::ostream* stream) // NOLINT(readability-identifier-naming)
{
    *stream << '"' << text.toStdString() << '"';
}

inline void PrintTo(const QByteArray& bytes, std::ostream* stream) // NOLINT(readability-identifier-naming)
{
    *stream << bytes.size() << " bytes: " << bytes.left(64).toHex(' ').constData();
}
