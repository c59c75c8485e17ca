#include <datastorage/cache/CacheFileHeader_p.h>

#include <support/CacheFileBytes.h>
#include <support/FaultyDevice.h>
#include <support/Printers.h>
#include <support/RowLabel.h>

#include <QtCore/QBuffer>

#include <gtest/gtest.h>

#include <optional>
#include <ostream>

using namespace vx::datastorage;

namespace {

TEST(CacheFileHeader, IsEightBytesWithTheLowestByteFirst)
{
    QBuffer device;
    ASSERT_TRUE(device.open(QIODevice::WriteOnly));
    EXPECT_TRUE(writeCacheFileHeader(device));
    EXPECT_EQ(device.data(), QByteArray::fromHex("CC9F3EF802000000"));
}

TEST(CacheFileHeader, IsWrittenAtTheDevicesPosition)
{
    QBuffer device;
    device.setData("0123456789abcdef");
    ASSERT_TRUE(device.open(QIODevice::ReadWrite));
    ASSERT_TRUE(device.seek(4));
    EXPECT_TRUE(writeCacheFileHeader(device));
    EXPECT_EQ(device.data(), "0123" + QByteArray::fromHex("CC9F3EF802000000") + "cdef");
    EXPECT_EQ(device.pos(), 12);
}

TEST(CacheFileHeader, CutShortByTheDeviceIsReported)
{
    QBuffer buffer;
    ASSERT_TRUE(buffer.open(QIODevice::WriteOnly));
    FaultyDevice device(buffer);
    device.limitWrite(0, 7);
    EXPECT_FALSE(writeCacheFileHeader(device));
}

TEST(CacheFileHeader, LeavesTheDeviceAtTheBody)
{
    QBuffer device;
    device.setData(cachefile::file({5}));
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    EXPECT_EQ(readCacheFileVersion(device), 2U);
    EXPECT_EQ(device.pos(), 8);
    ASSERT_TRUE(device.seek(0));
    EXPECT_TRUE(readCurrentCacheFileHeader(device));
    EXPECT_EQ(device.pos(), 8);
}

struct HeaderCase
{
    const char* label;
    QByteArray bytes;
    std::optional<quint32> version;
    bool current;
};

void PrintTo(const HeaderCase& row, std::ostream* stream)
{
    PrintTo(row.bytes, stream);
}

constexpr quint32 MAGIC = 0xF83E9FCC;

const HeaderCase HEADERS[] = {
    {"Current", cachefile::header(), 2, true},
    {"CurrentWithBody", cachefile::file({1, 2}), 2, true},
    {"VersionZero", cachefile::header(MAGIC, 0), 0, false},
    {"VersionOne", cachefile::header(MAGIC, 1), 1, false},
    {"VersionThree", cachefile::header(MAGIC, 3), 3, false},
    {"VersionAllBits", cachefile::header(MAGIC, 0xFFFFFFFF), 0xFFFFFFFF, false},
    {"VersionOtherByteOrder", cachefile::header(MAGIC, 0x02000000), 0x02000000, false},
    {"ForeignMagic", cachefile::header(0x12345678, 2), 2, false},
    {"MagicOtherByteOrder", cachefile::header(0xCC9F3EF8, 2), 2, false},
    {"MagicOffByOne", cachefile::header(MAGIC + 1, 2), 2, false},
    {"AllZero", QByteArray(8, '\0'), 0, false},
    {"Empty", QByteArray(), std::nullopt, false},
    {"OneByte", cachefile::header().left(1), std::nullopt, false},
    {"MagicOnly", cachefile::header().left(4), std::nullopt, false},
    {"OneByteShort", cachefile::header().left(7), std::nullopt, false},
};

class CacheFileHeaderBytes : public testing::TestWithParam<HeaderCase>
{
protected:
    void SetUp() override
    {
        m_device.setData(GetParam().bytes);
        ASSERT_TRUE(m_device.open(QIODevice::ReadOnly));
    }

    QBuffer m_device;
};

TEST_P(CacheFileHeaderBytes, GiveTheVersionWhateverTheMagic)
{
    EXPECT_EQ(readCacheFileVersion(m_device), GetParam().version);
}

TEST_P(CacheFileHeaderBytes, AreCurrentOnlyWithMagicAndVersion)
{
    EXPECT_EQ(readCurrentCacheFileHeader(m_device), GetParam().current);
}

INSTANTIATE_TEST_SUITE_P(Headers, CacheFileHeaderBytes, testing::ValuesIn(HEADERS), RowLabel{});

} // namespace
