#include "table/TableReader.h"
#include "support/Printers.h"

#include <QtCore/QBuffer>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

using vx::cli::InputError;
using vx::cli::TableReader;

constexpr double MISSING = std::numeric_limits<double>::quiet_NaN();

/// Hands out at most a few bytes per read, so that every cell, quote and line end meets the end of the
/// buffer once.
class TrickleDevice : public QIODevice
{
public:
    TrickleDevice(std::string bytes, qint64 atATime) : m_bytes(std::move(bytes)), m_atATime(atATime)
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char* data, qint64 size) override
    {
        const qint64 left = static_cast<qint64>(m_bytes.size()) - m_position;
        const qint64 count = std::min({size, m_atATime, left});
        std::memcpy(data, m_bytes.data() + m_position, static_cast<std::size_t>(count));
        m_position += count;
        return count;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    std::string m_bytes;
    qint64 m_atATime;
    qint64 m_position = 0;
};

/// What became of a table: headings and numbers, or the error.
struct Outcome
{
    bool ok = false;
    QStringList headings;
    int columns = 0;
    std::vector<double> values;
    InputError error;
};

Outcome readTable(const std::string& text, qint64 atATime, std::size_t rowsPerCall)
{
    TrickleDevice device(text, atATime);
    TableReader reader(device);
    Outcome outcome;
    if (!reader.open(outcome.error)) {
        return outcome;
    }
    outcome.columns = reader.firstRowSize();
    if (reader.hasHeadings()) {
        outcome.headings = reader.readHeadings();
    } else {
        reader.setColumnCount(outcome.columns);
    }
    std::vector<double> block(rowsPerCall * static_cast<std::size_t>(outcome.columns));
    for (;;) {
        const qint64 rows = reader.readRows(block, outcome.error);
        if (rows <= 0) {
            outcome.ok = rows == 0;
            return outcome;
        }
        outcome.values.insert(outcome.values.end(), block.begin(), block.begin() + rows * outcome.columns);
    }
}

/// Calls check(outcome) with the table read in pieces of several sizes.
template <typename Check>
void forEveryPieceSize(const std::string& text, Check check)
{
    for (const qint64 atATime : {1, 2, 3, 5, 7, 64, 1 << 20}) {
        for (const std::size_t rows : {1U, 3U, 1000U}) {
            SCOPED_TRACE(::testing::Message() << atATime << " bytes at a time, " << rows << " rows per call");
            check(readTable(text, atATime, rows));
        }
    }
}

struct GoodRow
{
    const char* name;
    std::string text;
    QStringList headings;
    std::vector<double> values;
};

const GoodRow GOOD_TABLES[] = {
    {"CommaPointLf", "a,b\n1,2.5\n3,4\n", {"a", "b"}, {1, 2.5, 3, 4}},
    {"NoFinalLineEnd", "a,b\n1,2\n3,4", {"a", "b"}, {1, 2, 3, 4}},
    {"CrLf", "a,b\r\n1,2\r\n3,4\r\n", {"a", "b"}, {1, 2, 3, 4}},
    {"Cr", "a,b\r1,2\r3,4\r", {"a", "b"}, {1, 2, 3, 4}},
    {"CrWithoutFinalLineEnd", "a,b\r1,2\r3,4", {"a", "b"}, {1, 2, 3, 4}},
    {"MixedLineEnds", "a,b\r\n1,2\r3,4\n5,6", {"a", "b"}, {1, 2, 3, 4, 5, 6}},
    {"SemicolonDecimalComma",
     "U [V];I [A]\n3,5;1,25\n4;-2,5e-3\n",
     {"U [V]", "I [A]"},
     {3.5, 1.25, 4, -2.5e-3}},
    {"SemicolonDecimalPoint", "a;b\n3.5;1.25\n", {"a", "b"}, {3.5, 1.25}},
    {"TabDecimalComma", "a\tb\n1,5\t2\n", {"a", "b"}, {1.5, 2}},
    {"TabDecimalPoint", "a\tb\n1.5\t2\n", {"a", "b"}, {1.5, 2}},
    {"DecimalCommaShownLate", "a;b\n1;2\n3;4\n5,5;6\n", {"a", "b"}, {1, 2, 3, 4, 5.5, 6}},
    {"QuotedDecimalComma", "a,b\n\"1,5\",\"2,5\"\n", {"a", "b"}, {1.5, 2.5}},
    {"ByteOrderMark",
     "\xEF\xBB\xBF"
     "a,b\n1,2\n",
     {"a", "b"},
     {1, 2}},
    {"ByteOrderMarkWithoutHeadings",
     "\xEF\xBB\xBF"
     "1,2\n3,4\n",
     {},
     {1, 2, 3, 4}},
    {"QuotedHeadings", "\"a, first\",\"b \"\"two\"\"\"\n1,2\n", {"a, first", "b \"two\""}, {1, 2}},
    {"LineEndInQuotes", "\"a\nfirst\",b\n1,2\n", {"a\nfirst", "b"}, {1, 2}},
    {"QuotedNumbers", "a,b\n\"1\", \"2\" \n", {"a", "b"}, {1, 2}},
    {"DegreeSign",
     "T / \xC2\xB0"
     "C,b\n1,2\n",
     {QString::fromUtf8("T / \xC2\xB0"
                        "C"),
      "b"},
     {1, 2}},
    {"EmptyCells", "a,b,c\n,2,\n1,,3\n", {"a", "b", "c"}, {MISSING, 2, MISSING, 1, MISSING, 3}},
    {"LastCellEmptyAtTheEnd", "a,b\n1,", {"a", "b"}, {1, MISSING}},
    {"MissingTexts", "a,b\nNaN,N/A\nnan,n/a\n", {"a", "b"}, {MISSING, MISSING, MISSING, MISSING}},
    {"BlanksAroundCells", "a , b\n 1 , 2 \n", {"a", "b"}, {1, 2}},
    {"NoHeadings", "1e-3,2\n3,4\n", {}, {1e-3, 2, 3, 4}},
    {"NoHeadingsDecimalComma", "1,5;2,5\n3,5;4,5\n", {}, {1.5, 2.5, 3.5, 4.5}},
    {"HeadingsOnly", "a,b\n", {"a", "b"}, {}},
    {"HeadingsWithoutLineEnd", "a,b", {"a", "b"}, {}},
    {"EmptyLinesAtTheEnd", "a,b\n1,2\n\n\n", {"a", "b"}, {1, 2}},
    {"EmptyLinesAtTheStart", "\n\r\na,b\n1,2\n", {"a", "b"}, {1, 2}},
    {"OneColumn", "a\n1\n2\n", {"a"}, {1, 2}},
    {"OneColumnWithEmptyLines", "a\n1\n\n\n2\n\n", {"a"}, {1, MISSING, MISSING, 2}},
    {"DelimiterInQuotedHeadingOnly", "\"a;b\",c\n1,2\n", {"a;b", "c"}, {1, 2}},
    {"ThousandsSeparatedHeading", "a,b;c\n1,2\n3,4\n", {"a", "b;c"}, {1, 2, 3, 4}},
    {"RangeOfDouble", "a,b\n1e400,1e-400\n", {"a", "b"}, {std::numeric_limits<double>::infinity(), 0}},
};

void PrintTo(const GoodRow& row, std::ostream* out)
{
    *out << row.name;
}

class TableReaderGood : public ::testing::TestWithParam<GoodRow>
{};

TEST_P(TableReaderGood, ReadsHeadingsAndNumbers)
{
    const GoodRow& row = GetParam();
    forEveryPieceSize(row.text, [&row](const Outcome& outcome) {
        EXPECT_TRUE(outcome.ok) << vx::cli::formatError(outcome.error).toStdString();
        EXPECT_EQ(outcome.headings, row.headings);
        EXPECT_THAT(outcome.values, ::testing::Pointwise(::testing::NanSensitiveDoubleEq(), row.values));
    });
}

INSTANTIATE_TEST_SUITE_P(Tables, TableReaderGood, ::testing::ValuesIn(GOOD_TABLES),
                         [](const auto& rowInfo) { return std::string(rowInfo.param.name); });

struct BadRow
{
    const char* name;
    std::string text;
    qint64 line;
    qint64 column;
    QString message;
};

using namespace std::string_literals;

const BadRow BAD_TABLES[] = {
    {"Empty", "", 1, 0, "expected a table with a heading line, found an empty file"},
    {"EmptyLinesOnly", "\n\n", 3, 0, "expected a table with a heading line, found an empty file"},
    {"MarkOnly", "\xEF\xBB\xBF", 1, 0, "expected a table with a heading line, found an empty file"},
    {"NoNumber", "a,b\n1,2\n3,abc\n", 3, 2, "expected a number, found \"abc\""},
    {"NoNumberWithCrLf", "a,b\r\n1,2\r\nx,4\r\n", 3, 1, "expected a number, found \"x\""},
    {"NoNumberWithCr", "a,b\r1,2\rx,4\r", 3, 1, "expected a number, found \"x\""},
    {"NumberWithUnit", "a,b\n1,2 V\n", 2, 2, "expected a number, found \"2 V\""},
    {"ThousandsSeparator", "a;b\n1,5;2\n1.234,5;2\n", 3, 1, "expected a number, found \"1.234,5\""},
    {"LongText", "a,b\n1," + std::string(60, 'x') + "\n", 2, 2,
     "expected a number, found \"" + QString(40, 'x') + "...\""},
    {"RowTooShort", "a,b,c\n1,2,3\n4,5\n", 3, 3, "expected 3 cells as in the first row, found 2"},
    {"RowTooLong", "a,b\n1,2\n3,4,5,6\n", 3, 3, "expected 2 cells as in the first row, found 4"},
    {"RowTooShortAtTheEnd", "a,b,c\n1,2,3\n4", 3, 2, "expected 3 cells as in the first row, found 1"},
    {"EmptyLineInside", "a,b\n1,2\n\n3,4\n", 3, 0, "expected 2 cells, found an empty line"},
    {"EmptyLinesInside", "a,b\r\n1,2\r\n\r\n\r\n3,4\r\n", 3, 0, "expected 2 cells, found an empty line"},
    {"NulByte", "a,b\n1,2\n3,4\0\n"s, 3, 2, "expected text, found a NUL byte"},
    {"NulByteAsCell", "a,b\n1,2\n\0,4\n"s, 3, 1, "expected text, found a NUL byte"},
    {"NulByteInHeading", "a,b\0c\n1,2\n"s, 1, 2, "expected text, found a NUL byte"},
    {"NulByteInQuotes", "a,b\n1,\"2\0\"\n"s, 2, 2, "expected text, found a NUL byte"},
    {"OpenQuote", "a,b\n1,2\n3,\"4\n5,6\n", 3, 2, "expected a closing quote, found the end of the file"},
    {"OpenQuoteInHeading", "\"a,b\n1,2\n", 1, 1, "expected a closing quote, found the end of the file"},
    {"TextAfterQuote", "a,b\n\"1\"x,2\n", 2, 1, "expected the end of the cell after its closing quote"},
    {"HeadingsAgain", "a,b\n1,2\na,b\n3,4\n", 3, 1, "expected numbers, found the heading line again"},
    {"HeadingsAgainAfterQuotedLineEnd", "\"a\nx\",b\n1,2\n\"a\nx\",b\n", 4, 1,
     "expected numbers, found the heading line again"},
    {"Latin1",
     "T [\xB0"
     "C],b\n1,2\n",
     1, 1, "expected UTF-8 text"},
    {"Utf16",
     "\xFF\xFE"
     "a\0,\0b\0"s,
     1, 1, "expected text, found a NUL byte"},
};

void PrintTo(const BadRow& row, std::ostream* out)
{
    *out << row.name;
}

class TableReaderBad : public ::testing::TestWithParam<BadRow>
{};

TEST_P(TableReaderBad, SaysWhereAndWhatWasExpected)
{
    const BadRow& row = GetParam();
    forEveryPieceSize(row.text, [&row](const Outcome& outcome) {
        EXPECT_FALSE(outcome.ok);
        EXPECT_EQ(outcome.error.line, row.line);
        EXPECT_EQ(outcome.error.column, row.column);
        EXPECT_EQ(outcome.error.text, row.message);
    });
}

INSTANTIATE_TEST_SUITE_P(Tables, TableReaderBad, ::testing::ValuesIn(BAD_TABLES),
                         [](const auto& rowInfo) { return std::string(rowInfo.param.name); });

TEST(TableReader, ReadsATableLargerThanItsBuffer)
{
    std::string text = "a,b\n";
    std::vector<double> expected;
    for (int row = 0; text.size() < 2 * TableReader::BUFFER_SIZE; ++row) {
        text += std::to_string(row) + ",\"-" + std::to_string(row) + ".5\"\n";
        expected.push_back(row);
        expected.push_back(-row - 0.5);
    }
    const Outcome outcome = readTable(text, 1 << 20, 1000);
    ASSERT_TRUE(outcome.ok);
    EXPECT_EQ(outcome.values, expected);
}

TEST(TableReader, RefusesARowLongerThanItsBuffer)
{
    const std::string text = "a,b\n1,2\n3,\"" + std::string(TableReader::BUFFER_SIZE, '4') + "\"\n";
    const Outcome outcome = readTable(text, 1 << 20, 1000);
    EXPECT_FALSE(outcome.ok);
    EXPECT_EQ(outcome.error.line, 3);
    EXPECT_EQ(outcome.error.text,
              QStringLiteral("expected a row of at most %1 bytes").arg(TableReader::BUFFER_SIZE));
}

TEST(TableReader, CountsTheBytesItTookFromTheDevice)
{
    QByteArray bytes("a,b\n1,2\n");
    QBuffer buffer(&bytes);
    ASSERT_TRUE(buffer.open(QIODevice::ReadOnly));
    TableReader reader(buffer);
    InputError error;
    ASSERT_TRUE(reader.open(error));
    EXPECT_EQ(reader.bytesRead(), bytes.size());
}

/// Whatever the bytes are, the pieces in which they arrive must not show.
TEST(TableReader, ReadsTheSameFromEveryPieceSize)
{
    constexpr std::string_view ALPHABET("0123456789.,;\t\"\"\r\n\n -+eEnaN/A\0x", 31);
    std::mt19937 random(20240531);
    int good = 0;
    int bad = 0;
    for (int table = 0; table < 3000; ++table) {
        std::string text = table % 3 == 0 ? "" : table % 3 == 1 ? "a,b\n1,2\n" : "a;b\r\n1,5;2\r\n";
        for (auto length = random() % 24; length > 0; --length) {
            text += ALPHABET[random() % ALPHABET.size()];
        }
        const Outcome whole = readTable(text, 1 << 20, 1000);
        (whole.ok ? good : bad)++;
        for (const qint64 atATime : {1, 2, 5}) {
            SCOPED_TRACE(::testing::PrintToString(text) + " in pieces of " + std::to_string(atATime));
            const Outcome pieces = readTable(text, atATime, 2);
            ASSERT_EQ(pieces.ok, whole.ok);
            ASSERT_EQ(pieces.headings, whole.headings);
            ASSERT_EQ(pieces.error.line, whole.error.line);
            ASSERT_EQ(pieces.error.column, whole.error.column);
            ASSERT_EQ(pieces.error.text, whole.error.text);
            if (whole.ok) {
                ASSERT_THAT(pieces.values,
                            ::testing::Pointwise(::testing::NanSensitiveDoubleEq(), whole.values));
            }
        }
    }
    EXPECT_GT(good, 100);
    EXPECT_GT(bad, 100);
}

} // namespace
