#include "report/CacheOptions.h"
#include "support/Printers.h"
#include "support/RowLabel.h"

#include <gtest/gtest.h>

namespace {

struct ByteRow
{
    const char* label;
    const char* text;
    qint64 bytes; ///< 0: refused
};

constexpr qint64 KIBI = 1024;

constexpr ByteRow BYTES[] = {
    {"Bytes", "1048576", 1048576},
    {"One", "1", 1},
    {"Unit", "512 B", 512},
    {"Kibi", "100KiB", 100 * KIBI},
    {"Mebi", "64MiB", 64 * KIBI* KIBI},
    {"MebiWithBlank", " 64 MiB ", 64 * KIBI* KIBI},
    {"ShortMebi", "64M", 64 * KIBI* KIBI},
    {"Gibi", "2GiB", 2 * KIBI* KIBI* KIBI},
    {"Tebi", "1TiB", KIBI* KIBI* KIBI* KIBI},
    {"Mega", "64MB", 64000000},
    {"Kilo", "3kB", 3000},
    {"Fraction", "1.5MiB", 3 * KIBI* KIBI / 2},
    {"Zero", "0", 0},
    {"LessThanOne", "0.5", 0},
    {"Negative", "-5", 0},
    {"Empty", "", 0},
    {"UnitAlone", "MiB", 0},
    {"OtherUnit", "64 mib", 0},
    {"Word", "many", 0},
    {"TooLarge", "99999999TiB", 0},
};

class ByteCount : public ::testing::TestWithParam<ByteRow>
{};

TEST_P(ByteCount, IsRead)
{
    constexpr qint64 UNTOUCHED = -1;
    qint64 bytes = UNTOUCHED;
    const ByteRow& row = GetParam();
    ASSERT_EQ(vx::cli::parseByteCount(row.text, bytes), row.bytes != 0);
    EXPECT_EQ(bytes, row.bytes == 0 ? UNTOUCHED : row.bytes);
}

INSTANTIATE_TEST_SUITE_P(Texts, ByteCount, ::testing::ValuesIn(BYTES), RowLabel());

TEST(ByteCountText, PicksTheUnit)
{
    EXPECT_EQ(vx::cli::byteCountText(0), "0 B");
    EXPECT_EQ(vx::cli::byteCountText(1023), "1023 B");
    EXPECT_EQ(vx::cli::byteCountText(1024), "1.0 KiB");
    EXPECT_EQ(vx::cli::byteCountText(11010048), "10.5 MiB");
    EXPECT_EQ(vx::cli::byteCountText(5 * KIBI * KIBI * KIBI), "5.0 GiB");
}

} // namespace
