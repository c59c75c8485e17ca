#pragma once

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QString>

#include <string>
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
    /// A container on the way from the start of the walk to the current text.
    struct Level
    {
        QJsonObject object;        ///< the container if `isObject`
        QJsonArray array;          ///< the container otherwise
        qsizetype size = 0;        ///< members or elements
        qsizetype next = 0;        ///< position that is visited next
        size_t contextSize = 0;    ///< bytes of the container's own path in m_context
        bool isObject = false;     ///< an object, not an array
        bool hasPath = false;      ///< the path has at least one key
        bool hasNul = false;       ///< a key of the path holds a NUL
        bool isDropped = false;    ///< at or below an array in an array: looked up, not written back
        bool isTranslated = false; ///< differs from the container in the tree
    };

    Level makeLevel(const QJsonObject& object) const;
    Level makeLevel(const QJsonArray& array) const;
    Level walk(Level start);
    void visit(Level& level);
    void enter(Level child, const Level& parent);
    void leave();
    bool translateText(const QString& text, QString& translation);
    void appendKey(const QString& key);
    static void store(Level& level, qsizetype position, const QJsonValue& value);

    std::vector<Level> m_levels;
    std::string m_context; ///< UTF-8, blanks replaced; ends with the key of the current member
    std::string m_text;    ///< UTF-8 of the current text
    bool m_hasPath = false;
    bool m_hasNul = false;
};

} // namespace JsonUtils
