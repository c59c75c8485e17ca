#include "config/JsonPlace.h"
#include "support/RowLabel.h"

#include <QtCore/QStringList>

#include <gtest/gtest.h>

namespace {

using vx::cli::TextPlace;

const QByteArray DOCUMENT = "{\n"                                           // 1
                            "  \"Version\": 2,\n"                           // 2
                            "  \"Skip\": { \"a\\\"}\": [1, {}, \"]\"] },\n" // 3
                            "  \"Measures\": {\n"                           // 4
                            "    \"B\": [ 1,\n"                             // 5
                            "      { \"Unit\": \"x\" },\n"                  // 6
                            "      {} ]\n"                                  // 7
                            "  }\n"
                            "}\n";

struct PlaceRow
{
    const char* label;
    QStringList path;
    qint64 line;
    qint64 column;
};

const PlaceRow PLACES[] = {
    {"Root", {}, 1, 1},
    {"Number", {"Version"}, 2, 14},
    {"Object", {"Measures"}, 4, 15},
    {"FirstElement", {"Measures", "B", "0"}, 5, 12},
    {"SecondElement", {"Measures", "B", "1"}, 6, 7},
    {"MemberOfAnElement", {"Measures", "B", "1", "Unit"}, 6, 17},
    {"ThirdElement", {"Measures", "B", "2"}, 7, 7},
    {"MissingMember", {"Enum"}, 1, 1},
    {"MissingElement", {"Measures", "B", "3"}, 5, 10},
    {"MemberOfANumber", {"Version", "x"}, 2, 14},
};

class PlaceOfValue : public ::testing::TestWithParam<PlaceRow>
{};

TEST_P(PlaceOfValue, IsFound)
{
    const TextPlace place = vx::cli::placeOfValue(DOCUMENT, GetParam().path);
    EXPECT_EQ(place.line, GetParam().line);
    EXPECT_EQ(place.column, GetParam().column);
}

INSTANTIATE_TEST_SUITE_P(Paths, PlaceOfValue, ::testing::ValuesIn(PLACES), RowLabel());

TEST(PlaceOfValue, EndsInBrokenDocuments)
{
    for (const char* json : {"", "{", "{\"a", "{\"a\"", "{\"a\":", "[1,", "\"\\", "}"}) {
        SCOPED_TRACE(json);
        EXPECT_EQ(vx::cli::placeOfValue(json, {"b", "0"}).line, 1);
    }
}

TEST(PlaceOfSyntaxError, IsThatOfTheParser)
{
    const TextPlace place = vx::cli::placeOfSyntaxError("{\n  \"a\": 1,\n  \"b\": }\n");
    EXPECT_EQ(place.line, 3);
    EXPECT_EQ(vx::cli::placeOfSyntaxError(DOCUMENT).line, 0);
}

} // namespace
