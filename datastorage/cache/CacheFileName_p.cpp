#include <datastorage/cache/CacheFileName_p.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>

#include <array>

namespace vx::datastorage {

namespace {

constexpr QLatin1StringView SEPARATOR("__");
constexpr QLatin1StringView SLASH_TEXT("_slash_");
constexpr QLatin1StringView SUFFIX(".bmd");
constexpr std::array<char16_t, 8> SEPARATED_CHARACTERS{u':', u'*', u'?', u'"', u'<', u'>', u'|', u'&'};

/// Whether the file system keeps the name as it is. It would cut one that is too long or holds a NUL,
/// and could not tell apart texts that are no valid Unicode.
bool isUsable(const QString& fileName)
{
    const QByteArray encoded = QFile::encodeName(fileName);
    return encoded.size() <= MAXIMUM_FILE_NAME_BYTES && !encoded.contains('\0') &&
           QFile::decodeName(encoded) == fileName;
}

qsizetype encodedBytes(const QString& fileName)
{
    return QFile::encodeName(fileName).size();
}

/// The 16-bit units of `text` as they stand in memory: unlike an encoded form they tell apart even
/// texts that are no valid Unicode.
QByteArrayView rawBytes(const QString& text)
{
    return {reinterpret_cast<const char*>(text.utf16()),
            text.size() * static_cast<qsizetype>(sizeof(char16_t))};
}

/// The longest start of `text` that takes at most `bytes` bytes and ends between two characters.
QString beginning(const QString& text, qsizetype bytes)
{
    // No encoded character is shorter than one byte per 16-bit unit.
    QString start = text.left(bytes);
    while (encodedBytes(start) > bytes || (!start.isEmpty() && start.back().isHighSurrogate()))
        start.chop(1);
    return start;
}

QString hashedFileName(const QString& transformed, const QByteArray& hash)
{
    const QString tail = SEPARATOR + QString::fromLatin1(hash.toHex()) + SUFFIX;
    QString base = transformed;
    if (base.endsWith(SUFFIX))
        base.chop(SUFFIX.size());
    base.remove(QChar(u'\0'));
    return beginning(base, MAXIMUM_FILE_NAME_BYTES - tail.size()) + tail;
}

} // namespace

QString transformCachePathToFileName(const QString& path)
{
    QString name = path;
    for (const char16_t character : SEPARATED_CHARACTERS)
        name.replace(QChar(character), SEPARATOR);
    name.replace(u'/', SLASH_TEXT);
    return name;
}

QString transformedCacheFileName(const QString& key, const QString& name)
{
    return transformCachePathToFileName(key + SEPARATOR + name + SUFFIX);
}

QString fittingFileName(const QString& transformed)
{
    if (isUsable(transformed))
        return transformed;
    return hashedFileName(transformed,
                          QCryptographicHash::hash(rawBytes(transformed), QCryptographicHash::Sha1));
}

QString distinctFileName(const QString& transformed, const QString& key, const QString& name, int attempt)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    // The length of the key stands before it: no two pairs feed the same bytes.
    hash.addData(QByteArray::number(attempt) + ':' + QByteArray::number(key.size()) + ':');
    hash.addData(rawBytes(key));
    hash.addData(rawBytes(name));
    return hashedFileName(transformed, hash.result());
}

} // namespace vx::datastorage
