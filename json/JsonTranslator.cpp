#include <json/JsonTranslator_p.h>

#include <QtCore/QCoreApplication>

#include <utility>

namespace JsonUtils {

JsonTranslator::JsonTranslator(const QList<QString>& path)
{
    for (const QString& key : path) {
        appendKey(key);
    }
}

void JsonTranslator::translate(QJsonObject& object)
{
    enter(object, false);
    if (const Level level = walk(); level.isTranslated) {
        object = level.object;
    }
}

void JsonTranslator::translate(QJsonArray& array)
{
    enter(array, false);
    if (const Level level = walk(); level.isTranslated) {
        array = level.array;
    }
}

/// Makes `object`, at the current path, the innermost container.
void JsonTranslator::enter(QJsonObject object, bool isDropped)
{
    Level& level = m_levels.emplace_back();
    level.size = object.size();
    level.object = std::move(object);
    level.path = m_path;
    level.isObject = true;
    level.isDropped = isDropped;
}

void JsonTranslator::enter(QJsonArray array, bool isDropped)
{
    Level& level = m_levels.emplace_back();
    level.size = array.size();
    level.array = std::move(array);
    level.path = m_path;
    level.isDropped = isDropped;
}

/// Ends the innermost container and writes it back into the one around it.
void JsonTranslator::leave()
{
    const Level& level = m_levels.back();
    if (level.isTranslated) {
        Level& parent = m_levels[m_levels.size() - 2];
        store(parent, parent.next - 1, level.isObject ? QJsonValue(level.object) : QJsonValue(level.array));
    }
    m_levels.pop_back();
}

/// Translates everything at and below the container that was entered, and returns it.
JsonTranslator::Level JsonTranslator::walk()
{
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
    setPath(level.path);
    if (level.isObject) {
        appendKey((level.object.constBegin() + position).key());
    }
    if (type == QJsonValue::String) {
        visitText(level, position, value.toString());
    } else if (type == QJsonValue::Object) {
        enter(value.toObject(), level.isDropped);
    } else {
        enter(value.toArray(), level.isDropped || !level.isObject);
    }
}

/// Looks `text`, which is at `position` of `level`, up in the current context.
void JsonTranslator::visitText(Level& level, qsizetype position, const QString& text)
{
    m_text.truncate(0);
    const bool hasNul = m_text.append(text);
    if (hasNul || m_path.hasNul) {
        return;
    }
    const QString translation = QCoreApplication::translate(m_context.text(), m_text.text());
    // An untranslated text comes back through UTF-8, in which a lone surrogate and a leading byte order
    // mark do not survive; that is no translation.
    if (!level.isDropped && translation != text && translation != QString::fromUtf8(m_text.text())) {
        store(level, position, translation);
    }
}

void JsonTranslator::setPath(const Path& parent)
{
    m_path = parent;
    m_context.truncate(parent.size);
}

void JsonTranslator::appendKey(const QString& key)
{
    if (!m_path.isEmpty) {
        m_context.append('_');
    }
    const bool hasNul = m_context.append(key, '_');
    m_path = {m_context.size(), false, m_path.hasNul || hasNul};
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
