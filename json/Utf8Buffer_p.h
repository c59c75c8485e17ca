#pragma once

#include <QtCore/QString>

#include <cstddef>
#include <vector>

namespace JsonUtils {

/// A UTF-8 text that is extended and cut back over and over, in memory that it keeps.
class Utf8Buffer
{
public:
    /// The bytes, with a NUL behind them; valid until the next append().
    const char* text() const { return m_bytes.data(); }
    size_t size() const { return m_size; }

    /// Cuts the text back to its first `size` bytes, 0 to size().
    void truncate(size_t size);

    /// Appends what QString::toUtf8() gives, with `blank` in place of each blank. True when `text` holds
    /// a NUL.
    bool append(const QString& text, char blank = ' ');

    void append(char byte);

private:
    char* reserve(qsizetype count);
    void advance(qsizetype count);

    std::vector<char> m_bytes = std::vector<char>(256); ///< always more than m_size
    size_t m_size = 0;
};

} // namespace JsonUtils
