#pragma once

#include <json/Utf8Buffer_p.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QString>

#include <cstddef>
#include <vector>

namespace JsonUtils {

/// Walks a JSON tree depth first, in the order of its containers, and replaces its texts by their
/// translations.
///
/// The walk keeps its own stack of containers, so the depth of a tree costs heap memory only, and one
/// buffer with the context of the current text, which grows and shrinks by one key at a time.
/// Containers are shared with the tree until a text in them really changes; only then the containers
/// from there up to the root are written back.
///
/// An object is made for one walk.
class JsonTranslator
{
public:
    /// `path`: the keys from the root down to the container that is walked.
    explicit JsonTranslator(const QList<QString>& path);

    void translate(QJsonObject& object);
    void translate(QJsonArray& array);

private:
    /// The keys from the root down to a container or text, of which m_context holds the text.
    struct Path
    {
        size_t size = 0;     ///< bytes in m_context
        bool isEmpty = true; ///< no key at all, which an empty text does not tell
        bool hasNul = false; ///< a key holds a NUL
    };

    /// A container on the way from the start of the walk to the current text.
    struct Level
    {
        QJsonObject object;        ///< the container if `isObject`
        QJsonArray array;          ///< the container otherwise
        qsizetype size = 0;        ///< members or elements
        qsizetype next = 0;        ///< position that is visited next
        Path path;                 ///< of the container
        bool isObject = false;     ///< an object, not an array
        bool isDropped = false;    ///< at or below an array in an array: looked up, not written back
        bool isTranslated = false; ///< differs from the container in the tree
    };

    void enter(QJsonObject object, bool isDropped);
    void enter(QJsonArray array, bool isDropped);
    void leave();
    Level walk();
    void visit(Level& level);
    void visitText(Level& level, qsizetype position, const QString& text);
    void setPath(const Path& parent);
    void appendKey(const QString& key);
    static void store(Level& level, qsizetype position, const QJsonValue& value);

    std::vector<Level> m_levels;
    Path m_path;          ///< of the current member or element
    Utf8Buffer m_context; ///< the keys of m_path, joined, blanks replaced
    Utf8Buffer m_text;    ///< the current text
};

} // namespace JsonUtils
