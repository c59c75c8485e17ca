#pragma once

#include <datastorage/Export.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QRect>
#include <QtCore/QString>

/// Opens JSON configuration files with their texts translated, checks their version, and stores a few
/// Qt values in JSON.
///
/// Messages are translated in the context "vx_batterydata". An `error` argument is written only on
/// failure, so one string can be handed from call to call.
///
/// Threads: any; the functions keep no state. Trees of any depth are walked without recursion.
namespace JsonUtils {

/// Reads the JSON file `filePath`, UTF-8 with any line ends and with or without byte order mark, into
/// `root`, with every text translated as translateJsonObject() does from the root.
///
/// Returns false, with `root` untouched, and sets `error` to "File not found" (missing or not
/// readable), "Empty document" (empty, or a syntax error anywhere, nesting deeper than 1024 included)
/// or "Root JSON object not found" (an array). Bytes that are not UTF-8 read as U+FFFD.
VXDATASTORAGE_EXPORT bool openJsonDocument(const QString& filePath, QString& error, QJsonObject& root);

/// Whether the member "Version" of `object` equals `expectedVersion`; if not, `error` becomes
/// "unexpected version". A version that is missing, no number, not whole or beyond 32 bits reads as 0.
VXDATASTORAGE_EXPORT bool checkVersionNumber(const QJsonObject& object, int expectedVersion, QString& error);

/// Replaces every text below `object` by its translation. `path` holds the object keys that lead from
/// the root to `object`.
///
/// The context of a text is the keys from the root down to it, joined with "_", with each blank turned
/// into "_"; positions in arrays do not count: a "Name" in the array "Cell voltage" of "Measures" is
/// looked up in "Measures_Cell_voltage_Name". Each text is looked up once, in the tree's order.
///
/// Texts that reach an array through another array directly are looked up and stay as they are. So do
/// texts without a translation, and, without being looked up, texts with a NUL in themselves or in
/// their keys, which the translation system would cut there.
VXDATASTORAGE_EXPORT void translateJsonObject(QJsonObject& object, const QList<QString>& path);

/// The same for an array; `path` holds the object keys that lead from the root to it.
VXDATASTORAGE_EXPORT void translateJsonArray(QJsonArray& array, const QList<QString>& path);

/// An object with the member "count", the number of bytes, and one member per byte: its index in
/// decimal, with the byte as a number from -128 to 127.
VXDATASTORAGE_EXPORT QJsonObject jsonObjectFromQByteArray(const QByteArray& bytes);

/// The bytes of such an object: "count" many, 0 to 2147483647, of which those without a member, or
/// with one that is no whole number, are 0; of a number the low eight bits count. Empty without
/// "count", and when memory for that many bytes cannot be had. The time grows with the members present.
VXDATASTORAGE_EXPORT QByteArray qbyteArrayFromJsonObject(const QJsonObject& object);

/// The integer members "left", "top", "width" and "height".
VXDATASTORAGE_EXPORT QJsonObject jsonObjectFromQRect(const QRect& rect);

/// The rectangle of such an object; a missing member is 0. Edges beyond 32 bits wrap around.
VXDATASTORAGE_EXPORT QRect qRectFromJsonObject(const QJsonObject& object);

/// One JSON string per entry, in order.
VXDATASTORAGE_EXPORT QJsonArray QStringListToJsonArray(const QList<QString>& list);

/// One entry per element, in order; an element that is no string gives an empty entry.
VXDATASTORAGE_EXPORT QList<QString> QStringListFromJsonArray(const QJsonArray& array);

/// convertStringToQDateTime() of a string; any other value gives an invalid date-time.
VXDATASTORAGE_EXPORT QDateTime convertJsonValueToQDateTime(const QJsonValue& value);

/// The local time written as "2024-03-05T14:07:09", with or without a fraction of a second, which is
/// dropped, or as "2024-03-05 14:07:09". Anything else is an invalid date-time, except that behind a
/// valid date and "T" a time that cannot be read gives the start of that day.
VXDATASTORAGE_EXPORT QDateTime convertStringToQDateTime(const QString& text);

} // namespace JsonUtils
