#include <json/JsonUtils.h>

#include <json/JsonLog_p.h>
#include <json/JsonTranslator_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>

#include <new>

namespace JsonUtils {

namespace {

constexpr const char* TRANSLATION_CONTEXT = "vx_batterydata";
constexpr const char* BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// The document in the file, or a null one when it is empty or has a syntax error.
QJsonDocument readDocument(QFile& file)
{
    QByteArray utf8 = file.readAll();
    file.close();
    if (!utf8.isValidUtf8() || utf8.startsWith(BYTE_ORDER_MARK)) {
        // Through a string and back: bytes that are not UTF-8 become U+FFFD instead of a syntax error,
        // and the byte order mark is dropped. Any other content would come back as it is.
        utf8 = QString::fromUtf8(utf8).toUtf8();
    }
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(utf8, &error);
    if (document.isNull())
        qCDebug(jsonLog) << file.fileName() << "cannot be read:" << error.errorString() << "at byte"
                         << error.offset;
    return document;
}

/// The index that `key` is the decimal form of, or -1. Only the form without sign and leading zeros is
/// an index.
int indexFromKey(const QString& key)
{
    bool isNumber = false;
    const int index = key.toInt(&isNumber);
    return isNumber && index >= 0 && key == QString::number(index) ? index : -1;
}

/// Inserts the bytes whose index starts with the digits of `index`, in ascending order of their keys.
/// An object keeps its keys sorted as texts: filled in that order it only ever grows at its end, where
/// any other order would move what is behind each new member.
void insertBytes(QJsonObject& object, const QByteArray& bytes, qsizetype index)
{
    object.insert(QString::number(index), static_cast<int>(static_cast<signed char>(bytes[index])));
    if (index == 0) {
        return;
    }
    for (qsizetype next = index * 10; next < index * 10 + 10 && next < bytes.size(); ++next) {
        insertBytes(object, bytes, next);
    }
}

/// `a` + `b` - 1 and `a` - `b` + 1 wrap around where a rectangle's edges leave the 32 bits.
int lastFromSize(int first, int size)
{
    return static_cast<int>(static_cast<unsigned>(first) + static_cast<unsigned>(size) - 1U);
}

int sizeFromLast(int first, int last)
{
    return static_cast<int>(static_cast<unsigned>(last) - static_cast<unsigned>(first) + 1U);
}

} // namespace

bool openJsonDocument(const QString& filePath, QString& error, QJsonObject& root)
{
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qCDebug(jsonLog) << filePath << "cannot be opened:" << file.errorString();
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "File not found");
        return false;
    }
    const QJsonDocument document = readDocument(file);
    if (document.isNull()) {
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "Empty document");
        return false;
    }
    if (!document.isObject()) {
        qCDebug(jsonLog) << filePath << "holds no object";
        error = QCoreApplication::translate(TRANSLATION_CONTEXT, "Root JSON object not found");
        return false;
    }
    root = document.object();
    translateJsonObject(root, {});
    return true;
}

bool checkVersionNumber(const QJsonObject& object, int expectedVersion, QString& error)
{
    if (object.value(QLatin1String("Version")).toInt(0) == expectedVersion) {
        return true;
    }
    error = QCoreApplication::translate(TRANSLATION_CONTEXT, "unexpected version");
    return false;
}

void translateJsonObject(QJsonObject& object, const QList<QString>& path)
{
    JsonTranslator(path).translate(object);
}

void translateJsonArray(QJsonArray& array, const QList<QString>& path)
{
    JsonTranslator(path).translate(array);
}

QJsonObject jsonObjectFromQByteArray(const QByteArray& bytes)
{
    QJsonObject object;
    for (qsizetype index = 0; index < 10 && index < bytes.size(); ++index) {
        insertBytes(object, bytes, index);
    }
    object.insert(QLatin1String("count"), qint64{bytes.size()});
    return object;
}

QByteArray qbyteArrayFromJsonObject(const QJsonObject& object)
{
    const int count = object.value(QLatin1String("count")).toInt(0);
    if (count < 1) {
        return {};
    }
    QByteArray bytes;
    try {
        bytes = QByteArray(count, '\0');
    } catch (const std::bad_alloc&) {
        return {};
    }
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        const int index = indexFromKey(member.key());
        if (index >= 0 && index < count) {
            const int value = QJsonValue(member.value()).toInt(0);
            bytes[index] = static_cast<char>(static_cast<unsigned char>(value));
        }
    }
    return bytes;
}

QJsonObject jsonObjectFromQRect(const QRect& rect)
{
    QJsonObject object;
    object.insert(QLatin1String("left"), rect.left());
    object.insert(QLatin1String("top"), rect.top());
    object.insert(QLatin1String("width"), sizeFromLast(rect.left(), rect.right()));
    object.insert(QLatin1String("height"), sizeFromLast(rect.top(), rect.bottom()));
    return object;
}

QRect qRectFromJsonObject(const QJsonObject& object)
{
    const int left = object.value(QLatin1String("left")).toInt(0);
    const int top = object.value(QLatin1String("top")).toInt(0);
    const int width = object.value(QLatin1String("width")).toInt(0);
    const int height = object.value(QLatin1String("height")).toInt(0);
    QRect rect;
    rect.setCoords(left, top, lastFromSize(left, width), lastFromSize(top, height));
    return rect;
}

QJsonArray QStringListToJsonArray(const QList<QString>& list)
{
    QJsonArray array;
    for (const QString& text : list) {
        array.append(text);
    }
    return array;
}

QList<QString> QStringListFromJsonArray(const QJsonArray& array)
{
    QList<QString> list;
    list.reserve(array.size());
    for (auto element = array.constBegin(); element != array.constEnd(); ++element) {
        list.append((*element).toString());
    }
    return list;
}

QDateTime convertJsonValueToQDateTime(const QJsonValue& value)
{
    return convertStringToQDateTime(value.toString());
}

QDateTime convertStringToQDateTime(const QString& text)
{
    const qsizetype separator = text.indexOf(QLatin1Char('T'));
    if (separator < 0 || text.indexOf(QLatin1Char('T'), separator + 1) >= 0) {
        return QDateTime::fromString(text, QStringLiteral("yyyy-MM-dd HH:mm:ss"));
    }
    const QDate date = QDate::fromString(text.left(separator), QStringLiteral("yyyy-MM-dd"));
    const qsizetype fraction = text.indexOf(QLatin1Char('.'), separator);
    const qsizetype timeSize = fraction < 0 ? -1 : fraction - separator - 1;
    const QTime time = QTime::fromString(text.mid(separator + 1, timeSize), QStringLiteral("HH:mm:ss"));
    return QDateTime(date, time);
}

} // namespace JsonUtils
