#include <json/Utf8Buffer_p.h>

#include <QtCore/QByteArray>

#include <algorithm>

namespace JsonUtils {

void Utf8Buffer::truncate(size_t size)
{
    Q_ASSERT(size <= m_size);
    m_size = size;
    m_bytes[m_size] = '\0';
}

bool Utf8Buffer::append(const QString& text, char blank)
{
    // Nearly all texts are ASCII and need no conversion; one that does is noticed on the way.
    const qsizetype count = text.size();
    const QChar* source = text.constData();
    char* target = reserve(count);
    unsigned bits = 0;
    bool hasNul = false;
    for (qsizetype i = 0; i < count; ++i) {
        const char16_t unit = source[i].unicode();
        bits |= unit;
        hasNul |= unit == 0;
        target[i] = unit == u' ' ? blank : static_cast<char>(unit);
    }
    if (bits < 0x80) {
        advance(count);
    } else {
        const QByteArray utf8 = text.toUtf8();
        std::replace_copy(utf8.begin(), utf8.end(), reserve(utf8.size()), ' ', blank);
        advance(utf8.size());
    }
    return hasNul;
}

void Utf8Buffer::append(char byte)
{
    *reserve(1) = byte;
    advance(1);
}

/// Room for `count` bytes and a NUL behind the text.
char* Utf8Buffer::reserve(qsizetype count)
{
    const size_t needed = m_size + static_cast<size_t>(count) + 1;
    if (needed > m_bytes.size()) {
        m_bytes.resize(std::max(needed, 2 * m_bytes.size()));
    }
    return m_bytes.data() + m_size;
}

void Utf8Buffer::advance(qsizetype count)
{
    m_size += static_cast<size_t>(count);
    m_bytes[m_size] = '\0';
}

} // namespace JsonUtils
