#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>
#include <datastorage/cache/CacheManager.h>
#include <datastorage/units/PhysicalParameter.h>
#include <datastorage/units/UsualUnit.h>

#include <support/GatedPool.h>
#include <support/OpenStreamedArray.h>
#include <support/Printers.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStringList>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThreadPool>

#include <cstdint>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

/// The magic and the version in front of the body of a cache file.
inline QByteArray cacheFileHeader(quint32 version = 2, quint32 magic = 0xF83E9FCC)
{
    QByteArray bytes(8, '\0');
    qToLittleEndian(magic, bytes.data());
    qToLittleEndian(version, bytes.data() + 4);
    return bytes;
}

/// A whole cache file that holds `samples`.
inline QByteArray cacheFileBytes(const std::vector<std::int32_t>& samples)
{
    return cacheFileHeader() + bodyBytes(samples);
}

inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

/// The one cache manager in a directory of the test's own, with a budget that nothing reaches, and the
/// arrays of a test, which leave the cache when the test ends.
class CacheFixture : public ::testing::Test
{
protected:
    using Array = vx::datastorage::DataArrayInfoStreamed;
    using Manager = vx::datastorage::CacheManager;

    static constexpr qint64 AMPLE_BUDGET = qint64(1) << 40;
    /// The key under which arrays are filed unless a test names another one.
    inline static const QString KEY = "C:/data/run1.dat";

    void SetUp() override
    {
        ASSERT_TRUE(m_directory.isValid());
        m_previousPath = cache().getDefaultCachePath();
        m_previousBudget = cache().getCacheSizeInBytes();
        cache().setDefaultCachePath(m_directory.path(), false);
        ASSERT_TRUE(cache().checkDefaultCacheDirectory());
        cache().setCacheSizeInBytes(AMPLE_BUDGET);
        m_connection = QObject::connect(&cache(), &Manager::signal_cacheError,
                                        [this](const QString& error) { m_errors.append(error); });
    }

    void TearDown() override
    {
        EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(TEST_PATIENCE_MILLISECONDS));
        m_arrays.clear();
        processEvents();
        QObject::disconnect(m_connection);
        cache().removeAll();
        cache().setDefaultCachePath(m_previousPath, false);
        cache().setCacheSizeInBytes(m_previousBudget);
    }

    static Manager& cache() { return Manager::instance(); }

    // ---- arrays

    /// A new array, known to nobody yet.
    Array& make(const QString& name, vx::datastorage::DataType type = vx::datastorage::Int)
    {
        using namespace vx::datastorage;
        m_arrays.push_back(std::make_unique<Array>(name, static_cast<PhysicalParameter>(9), type,
                                                   UsualUnit(static_cast<UsualUnitType>(70))));
        m_arrays.back()->createDataArray();
        return *m_arrays.back();
    }

    /// Ends the life of an array before the test is over.
    void destroy(Array& array)
    {
        std::erase_if(m_arrays, [&array](const auto& owned) { return owned.get() == &array; });
    }

    static void add(Array& array, const std::vector<std::int32_t>& samples)
    {
        for (const std::int32_t sample : samples) {
            array.addSampleInt(sample);
        }
    }

    /// A first or further fill, whose write is left to run.
    static void fill(Array& array, const std::vector<std::int32_t>& samples, const QString& key = KEY)
    {
        array.startAddingData();
        add(array, samples);
        array.endAddingData(key);
    }

    /// A new array, filled, written and in memory.
    Array& store(const QString& name, const std::vector<std::int32_t>& samples, const QString& key = KEY)
    {
        Array& array = make(name);
        fill(array, samples, key);
        cache().awaitTaskFinished(&array);
        return array;
    }

    /// Drops the samples of a written array.
    static void evict(Array& array)
    {
        cache().awaitTaskFinished(&array);
        array.removeFromMemory();
    }

    /// Reads an array back.
    static void load(Array& array)
    {
        cache().readDataArrayFromDisk(&array);
        cache().awaitTaskFinished(&array);
    }

    static std::vector<std::int32_t> samplesOf(const Array& array)
    {
        std::vector<std::int32_t> samples;
        for (qint64 i = 0; i < array.getSize(); ++i) {
            samples.push_back(array.getSample(i).intValue);
        }
        return samples;
    }

    static bool isInMemory(const Array& array) { return array.getSizeLoadedInMemory() > 0; }

    // ---- files

    static QString fileOf(const Array& array, const QString& key = KEY)
    {
        return cache().getFullFilename(key, &array);
    }

    static QByteArray bytesOf(const Array& array, const QString& key = KEY)
    {
        return readFile(fileOf(array, key));
    }

    static bool hasFile(const Array& array, const QString& key = KEY)
    {
        return QFile::exists(fileOf(array, key));
    }

    /// A file of the test's directory.
    QString pathOf(const QString& name) const { return m_directory.filePath(name); }

    // ---- the manager's own operations

    /// Opens the protected operations of the manager; no object of this type exists.
    struct Peek : Manager
    {
        static auto updateCachePointer() { return &Peek::updateCache; }
        static auto pushPointer() { return &Peek::pushToPriorityQueue; }
        static auto usedBytesPointer() { return &Peek::getUsedDataCacheSizeInBytes; }
        static auto availableBytesPointer() { return &Peek::getPhysicalMemoryAvailableInBytes; }
        static auto readParametersPointer() { return &Peek::readCacheParameters; }
        static auto tempDirectoryPointer() { return &Peek::getDefaultSystemTempDirectory; }
    };

    static void updateCache() { (cache().*Peek::updateCachePointer())(); }
    static void push(Array& array) { (cache().*Peek::pushPointer())(&array); }
    static qint64 usedBytes() { return (cache().*Peek::usedBytesPointer())(); }

    /// Carries out what was posted to the main thread.
    static void processEvents() { QCoreApplication::processEvents(); }

    /// The texts of signal_cacheError so far.
    const QStringList& errors() const { return m_errors; }

private:
    QTemporaryDir m_directory;
    QString m_previousPath;
    qint64 m_previousBudget = 0;
    QMetaObject::Connection m_connection;
    QStringList m_errors;
    std::vector<std::unique_ptr<Array>> m_arrays;
};
