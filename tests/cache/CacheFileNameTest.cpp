#include <datastorage/cache/CacheFileName_p.h>

#include <support/CacheFileBytes.h>
#include <support/Printers.h>
#include <support/RowLabel.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>
#include <set>

using namespace vx::datastorage;

namespace {

constexpr qsizetype HASH_TAIL_CHARACTERS = 2 + 40 + 4; // "__", forty digits, ".bmd"

/// The 16-bit units of a text, as they stand in memory.
QByteArray unitsOf(const QString& text)
{
    return {reinterpret_cast<const char*>(text.utf16()), text.size() * 2};
}

struct PathCase
{
    const char* label;
    QString path;
    QString fileName;
};

void PrintTo(const PathCase& row, std::ostream* stream)
{
    PrintTo(row.path, stream);
}

const PathCase PATHS[] = {
    {"EachKindOnce", "a:b/c|d&e", "a__b_slash_c__d__e"},
    {"Colon", ":", "__"},
    {"Star", "*", "__"},
    {"QuestionMark", "?", "__"},
    {"Quote", "\"", "__"},
    {"Less", "<", "__"},
    {"Greater", ">", "__"},
    {"Bar", "|", "__"},
    {"Ampersand", "&", "__"},
    {"Slash", "/", "_slash_"},
    {"AllInARow", ":*?\"<>|&/", "_________________slash_"},
    {"EveryOccurrence", "a::b//c", "a____b_slash__slash_c"},
    {"Kept", "a\\b c.d'e;f(g)%~#", "a\\b c.d'e;f(g)%~#"},
    {"UnderscoresKept", "a__b_slash_c", "a__b_slash_c"},
    {"Empty", "", ""},
    {"OtherScripts", QStringLiteral(u"Größe/电压"), QStringLiteral(u"Größe_slash_电压")},
};

class CachePathText : public testing::TestWithParam<PathCase>
{};

TEST_P(CachePathText, BecomesAFlatFileName)
{
    EXPECT_EQ(transformCachePathToFileName(GetParam().path), GetParam().fileName);
}

INSTANTIATE_TEST_SUITE_P(Paths, CachePathText, testing::ValuesIn(PATHS), RowLabel{});

TEST(CacheFileName, JoinsKeyAndNameBeforeItReplaces)
{
    EXPECT_EQ(transformedCacheFileName("C:/data/run1.dat", "U/V"),
              "C___slash_data_slash_run1.dat__U_slash_V.bmd");
    EXPECT_EQ(transformedCacheFileName("", ""), "__.bmd");
}

/// A text of exactly `bytes` bytes that ends in ".bmd", made of one character and, where that does not
/// fill it, of "x" in front.
QString textOfBytes(qsizetype bytes, const QString& character)
{
    const qsizetype body = bytes - 4;
    const qsizetype each = character.toUtf8().size();
    return QString(body % each, 'x') + character.repeated(body / each) + ".bmd";
}

struct CharacterCase
{
    const char* label;
    QString character;
};

void PrintTo(const CharacterCase& row, std::ostream* stream)
{
    PrintTo(row.character, stream);
}

const CharacterCase CHARACTERS[] = {
    {"OneByte", "a"},
    {"TwoBytes", QStringLiteral(u"ö")},
    {"ThreeBytes", QStringLiteral(u"电")},
    {"FourBytes", QStringLiteral(u"🔋")},
};

class FittingFileName : public testing::TestWithParam<CharacterCase>
{
protected:
    static QString ofBytes(qsizetype bytes) { return textOfBytes(bytes, GetParam().character); }
};

TEST_P(FittingFileName, KeepsANameOfTheFullLength)
{
    const QString name = ofBytes(255);
    ASSERT_EQ(name.toUtf8().size(), 255);
    EXPECT_EQ(fittingFileName(name), name);
}

TEST_P(FittingFileName, ShortensTheFirstNameThatDoesNotFit)
{
    const QString name = ofBytes(256);
    const QString fitting = fittingFileName(name);
    EXPECT_LE(fitting.toUtf8().size(), 255);
    EXPECT_GT(fitting.toUtf8().size(), 255 - 4); // no room left for another character
    const QByteArray hash = QCryptographicHash::hash(unitsOf(name), QCryptographicHash::Sha1).toHex();
    EXPECT_TRUE(fitting.endsWith("__" + hash + ".bmd")) << fitting.toStdString();
}

TEST_P(FittingFileName, StartsWithWholeCharactersOfTheName)
{
    for (qsizetype bytes = 256; bytes < 264; ++bytes) {
        SCOPED_TRACE(bytes);
        const QString name = ofBytes(bytes);
        const QString start = fittingFileName(name).chopped(HASH_TAIL_CHARACTERS);
        EXPECT_TRUE(name.startsWith(start));
        EXPECT_EQ(QString::fromUtf8(start.toUtf8()), start);
    }
}

TEST_P(FittingFileName, IsTakenByTheFileSystem)
{
    const QTemporaryDir directory;
    ASSERT_TRUE(directory.isValid());
    const QString path = directory.filePath(fittingFileName(ofBytes(3000)));
    ASSERT_TRUE(cachefile::write(path, "x"));
    EXPECT_TRUE(QFileInfo::exists(path));
}

TEST_P(FittingFileName, DiffersWhereOnlyTheEndDiffers)
{
    const QString longName = ofBytes(300);
    const QString a = fittingFileName("a" + longName);
    EXPECT_EQ(a, fittingFileName("a" + longName));
    const QString withOtherEnd = ("a" + longName).chopped(4) + "2.bmd";
    EXPECT_NE(a, fittingFileName(withOtherEnd));
}

INSTANTIATE_TEST_SUITE_P(Characters, FittingFileName, testing::ValuesIn(CHARACTERS), RowLabel{});

TEST(FittingFileNameLimit, CountsBytesNotCharacters)
{
    const QString name = QString(126, QChar(u'ö')) + ".bmd"; // 130 characters, 256 bytes
    EXPECT_NE(fittingFileName(name), name);
    EXPECT_EQ(fittingFileName(name.sliced(1)), name.sliced(1));
}

TEST(FittingFileNameLimit, HoldsForTextThatIsNoUnicode)
{
    const QString name = QString(400, QChar(0xD800)) + ".bmd";
    const QString fitting = fittingFileName(name);
    EXPECT_LE(fitting.toUtf8().size(), 255);
    EXPECT_TRUE(fitting.endsWith(".bmd"));
}

TEST(FittingFileNameLimit, GivesTextsThatAreNoUnicodeNamesOfTheirOwn)
{
    std::set<QByteArray> names;
    for (const char16_t unit : {u'\xD800', u'\xD801', u'\xDBFF', u'\xDC00', u'\xDFFF'})
        names.insert(QFile::encodeName(fittingFileName("a" + QString(QChar(unit)) + ".bmd")));
    EXPECT_EQ(names.size(), 5U);
}

TEST(FittingFileNameLimit, GivesTextsWithANulNamesOfTheirOwn)
{
    const QString nul(QChar(u'\0'));
    std::set<QString> names;
    for (const QString& text :
         {"a" + nul + "b.bmd", "a" + nul + "c.bmd", "ab" + nul + ".bmd", nul + "ab.bmd"}) {
        const QString name = fittingFileName(text);
        EXPECT_FALSE(name.contains(nul));
        EXPECT_EQ(name.left(1), "a");
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 4U);
    EXPECT_FALSE(distinctFileName("a" + nul + "b.bmd", "k", "n").contains(nul));
}

TEST(DistinctFileName, KeepsTheTextBeforeAHashOfThePair)
{
    const QString name = distinctFileName("a__b__U.bmd", "a:b", "U");
    EXPECT_EQ(name.left(9), "a__b__U__");
    EXPECT_EQ(name.right(4), ".bmd");
    EXPECT_EQ(name.size(), 7 + HASH_TAIL_CHARACTERS);
    EXPECT_EQ(distinctFileName("a__b__U.bmd", "a:b", "U"), name);
}

TEST(DistinctFileName, DiffersForPairsWithTheSameTransformedText)
{
    struct Pair
    {
        QString key;
        QString name;
    };
    const Pair pairs[] = {
        {"a:b", "U"}, {"a*b", "U"},    {"a__b", "U"},  {"a", "b__U"}, {"a", "b:U"},  {"a", "b*U"},
        {"a", "b?U"}, {"a__b__U", ""}, {"", "a:b__U"}, {"a?b", "U"},  {"a\"b", "U"}, {"a<b", "U"},
    };
    std::set<QString> names;
    for (const Pair& pair : pairs)
        names.insert(distinctFileName("a__b__U.bmd", pair.key, pair.name));
    EXPECT_EQ(names.size(), std::size(pairs));
}

TEST(DistinctFileName, TellsApartTextsThatAreNoUnicode)
{
    const QString first(QChar(0xD800));
    const QString second(QChar(0xDC00));
    EXPECT_NE(distinctFileName("x.bmd", first, "U"), distinctFileName("x.bmd", second, "U"));
}

TEST(DistinctFileName, HasAnotherNameForEveryAttempt)
{
    std::set<QString> names;
    for (int attempt = 0; attempt < 20; ++attempt)
        names.insert(distinctFileName("x.bmd", "k", "n", attempt));
    EXPECT_EQ(names.size(), 20U);
}

TEST(DistinctFileName, FitsTheFileSystem)
{
    for (const qsizetype bytes : {209, 210, 213, 214, 255, 256, 5000}) {
        SCOPED_TRACE(bytes);
        const QString transformed = textOfBytes(bytes, QStringLiteral(u"电"));
        const QString name = distinctFileName(transformed, "k", "n");
        EXPECT_LE(name.toUtf8().size(), 255);
        EXPECT_NE(name, fittingFileName(transformed));
        EXPECT_TRUE(transformed.startsWith(name.chopped(HASH_TAIL_CHARACTERS)));
    }
}

} // namespace
