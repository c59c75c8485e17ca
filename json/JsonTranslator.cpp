#include <json/JsonTranslator_p.h>

#include <QtCore/QByteArray>
#include <QtCore/QCoreApplication>

#include <algorithm>
#include <utility>

namespace JsonUtils {

namespace {

/// Appends what QString::toUtf8() gives. Nearly all keys and texts are ASCII and need no string of
/// their own for that.
void appendUtf8(std::string& buffer, const QString& text)
{
    const size_t start = buffer.size();
    buffer.resize(start + static_cast<size_t>(text.size()));
    char* target = buffer.data() + start;
    unsigned bits = 0;
    for (const QChar character : text) {
        bits |= character.unicode();
        *target++ = character.toLatin1();
    }
    if (bits >= 0x80) {
        const QByteArray utf8 = text.toUtf8();
        buffer.replace(start, std::string::npos, utf8.constData(), static_cast<size_t>(utf8.size()));
    }
}

bool hasNul(const std::string& utf8, size_t start)
{
    return utf8.find('\0', start) != std::string::npos;
}

} // namespace

JsonTranslator::JsonTranslator(const QList<QString>& path)
{
    for (const QString& key : path) {
        appendKey(key);
    }
}

void JsonTranslator::translate(QJsonObject& object)
{
    const Level end = walk(makeLevel(object));
    if (end.isTranslated) {
        object = end.object;
    }
}

void JsonTranslator::translate(QJsonArray& array)
{
    const Level end = walk(makeLevel(array));
    if (end.isTranslated) {
        array = end.array;
    }
}

/// A level whose path is the current context.
JsonTranslator::Level JsonTranslator::makeLevel(const QJsonObject& object) const
{
    Level level;
    level.object = object;
    level.size = object.size();
    level.isObject = true;
    level.contextSize = m_context.size();
    level.hasPath = m_hasPath;
    level.hasNul = m_hasNul;
    return level;
}

JsonTranslator::Level JsonTranslator::makeLevel(const QJsonArray& array) const
{
    Level level;
    level.array = array;
    level.size = array.size();
    level.contextSize = m_context.size();
    level.hasPath = m_hasPath;
    level.hasNul = m_hasNul;
    return level;
}

/// Translates everything at and below `start` and returns it.
JsonTranslator::Level JsonTranslator::walk(Level start)
{
    m_levels.push_back(std::move(start));
    while (true) {
        Level& level = m_levels.back();
        if (level.next < level.size) {
            visit(level);
        } else if (m_levels.size() > 1) {
            leave();
        } else {
            return std::move(level);
        }
    }
}

/// Visits the next member or element of `level`, which is the innermost one. The containers are
/// addressed by position: a position stays valid when a value is replaced, an iterator may not.
void JsonTranslator::visit(Level& level)
{
    const qsizetype position = level.next++;
    const QJsonValueConstRef value =
        level.isObject ? *(level.object.constBegin() + position) : *(level.array.constBegin() + position);
    const QJsonValue::Type type = value.type();
    if (type != QJsonValue::Object && type != QJsonValue::Array && type != QJsonValue::String) {
        return;
    }
    m_context.resize(level.contextSize);
    m_hasPath = level.hasPath;
    m_hasNul = level.hasNul;
    if (level.isObject) {
        appendKey((level.object.constBegin() + position).key());
    }
    if (type == QJsonValue::Object) {
        enter(makeLevel(value.toObject()), level);
    } else if (type == QJsonValue::Array) {
        enter(makeLevel(value.toArray()), level);
    } else if (QString translation; translateText(value.toString(), translation) && !level.isDropped) {
        store(level, position, translation);
    }
}

void JsonTranslator::enter(Level child, const Level& parent)
{
    child.isDropped = parent.isDropped || (!parent.isObject && !child.isObject);
    m_levels.push_back(std::move(child));
}

/// Ends the innermost container and writes it back into the one around it.
void JsonTranslator::leave()
{
    const Level& child = m_levels.back();
    if (child.isTranslated) {
        Level& parent = m_levels[m_levels.size() - 2];
        store(parent, parent.next - 1, child.isObject ? QJsonValue(child.object) : QJsonValue(child.array));
    }
    m_levels.pop_back();
}

/// Looks `text` up in the current context. False when it stays as it is.
bool JsonTranslator::translateText(const QString& text, QString& translation)
{
    m_text.clear();
    appendUtf8(m_text, text);
    if (m_hasNul || hasNul(m_text, 0)) {
        return false;
    }
    translation = QCoreApplication::translate(m_context.c_str(), m_text.c_str());
    // An untranslated text comes back through UTF-8, in which a lone surrogate and a leading byte order
    // mark do not survive; that is no translation.
    return translation != text && translation != QString::fromStdString(m_text);
}

void JsonTranslator::appendKey(const QString& key)
{
    if (m_hasPath) {
        m_context += '_';
    }
    const size_t start = m_context.size();
    appendUtf8(m_context, key);
    std::replace(m_context.begin() + static_cast<std::ptrdiff_t>(start), m_context.end(), ' ', '_');
    m_hasPath = true;
    m_hasNul = m_hasNul || hasNul(m_context, start);
}

void JsonTranslator::store(Level& level, qsizetype position, const QJsonValue& value)
{
    if (level.isObject) {
        (level.object.begin() + position).value() = value;
    } else {
        level.array.replace(position, value);
    }
    level.isTranslated = true;
}

} // namespace JsonUtils
