#include "config/JsonPlace.h"

#include <QtCore/QJsonDocument>

#include <algorithm>

namespace vx::cli {
namespace {

/// Walks through a well-formed document; in any other it just comes to an end.
class JsonWalker
{
public:
    explicit JsonWalker(const QByteArray& json) : m_json(json) {}

    /// From the start of a value to the value that `path` leads to.
    qsizetype find(const QStringList& path)
    {
        skipBlanks();
        qsizetype found = m_position;
        for (const QString& step : path) {
            if (!enter(step)) {
                return found;
            }
            skipBlanks();
            found = m_position;
        }
        return found;
    }

private:
    bool atEnd() const { return m_position >= m_json.size(); }
    char here() const { return atEnd() ? '\0' : m_json.at(m_position); }

    void skipBlanks()
    {
        while (!atEnd() && QByteArrayView(" \t\r\n").contains(here())) {
            ++m_position;
        }
    }

    /// Moves to the member or element `step` of the container that begins here.
    bool enter(const QString& step)
    {
        const bool isObject = here() == '{';
        if (!isObject && here() != '[') {
            return false;
        }
        ++m_position;
        for (qsizetype index = 0; !atEnd(); ++index) {
            skipBlanks();
            if (here() == '}' || here() == ']') {
                return false;
            }
            QString name = QString::number(index);
            if (isObject) {
                name = QString::fromUtf8(takeString());
                skipBlanks();
                ++m_position; // the colon
                skipBlanks();
            }
            if (name == step) {
                return true;
            }
            skipValue();
            skipBlanks();
            if (here() == ',') {
                ++m_position;
            }
        }
        return false;
    }

    /// The string that begins here, its escapes left as they are.
    QByteArray takeString()
    {
        const qsizetype start = ++m_position;
        while (!atEnd() && here() != '"') {
            m_position += here() == '\\' ? 2 : 1;
        }
        QByteArray string = m_json.mid(start, m_position - start);
        ++m_position;
        return string;
    }

    void skipValue()
    {
        qsizetype depth = 0;
        while (!atEnd()) {
            const char c = here();
            if (c == '"') {
                takeString();
            } else {
                if (depth == 0 && (c == ',' || c == '}' || c == ']')) {
                    return;
                }
                depth += static_cast<qsizetype>(c == '{' || c == '[') -
                         static_cast<qsizetype>(c == '}' || c == ']');
                ++m_position;
            }
        }
    }

    const QByteArray& m_json;
    qsizetype m_position = 0;
};

} // namespace

TextPlace placeOfOffset(const QByteArray& text, qsizetype offset)
{
    const QByteArray before = text.left(offset);
    const qsizetype lineStart = before.lastIndexOf('\n') + 1;
    return {before.count('\n') + 1, before.size() - lineStart + 1};
}

TextPlace placeOfValue(const QByteArray& json, const QStringList& path)
{
    return placeOfOffset(json, JsonWalker(json).find(path));
}

TextPlace placeOfSyntaxError(const QByteArray& json)
{
    QJsonParseError error;
    QJsonDocument::fromJson(json, &error);
    // The parser's offset is behind the byte that it could not take.
    return error.error == QJsonParseError::NoError ? TextPlace()
                                                   : placeOfOffset(json, std::max(0, error.offset - 1));
}

} // namespace vx::cli
