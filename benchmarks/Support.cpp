#include "Support.h"

#include <datastorage/cache/CacheManager.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

namespace vx::bench {

namespace {

bool bigCases = false;

/// After so many samples they repeat: drawing each of 10^8 would take longer than all that is measured.
constexpr std::size_t distinctSamples = 1'000'000;

QString scratchPath()
{
    static int number = 0;
    return datastorage::CacheManager::instance().getDefaultCachePath() + QStringLiteral("scratch-") +
           QString::number(++number);
}

} // namespace

bool wantsBigCases()
{
    return bigCases;
}

void setWantsBigCases(bool wanted)
{
    bigCases = wanted;
}

std::vector<float> measuredFloats(std::size_t count, unsigned seed)
{
    std::minstd_rand random(seed);
    std::vector<float> samples(count);
    const std::size_t drawn = std::min(count, distinctSamples);
    for (std::size_t i = 0; i < drawn; ++i)
        samples[i] = 3.7F + 0.4F * std::sin(static_cast<float>(i) * 1e-4F) +
                     1e-6F * static_cast<float>(random() % 1000);
    for (std::size_t i = drawn; i < count; ++i)
        samples[i] = samples[i - drawn];
    return samples;
}

std::vector<qint64> randomPositions(std::size_t count, qint64 below, unsigned seed)
{
    std::mt19937_64 random(seed);
    std::uniform_int_distribution<qint64> position(0, below - 1);
    std::vector<qint64> positions(count);
    for (qint64& value : positions)
        value = position(random);
    return positions;
}

void drainEvents()
{
    QCoreApplication::processEvents();
}

ScratchFile::ScratchFile() : m_path(QFile::encodeName(scratchPath()).toStdString()) {}

ScratchFile::~ScratchFile()
{
    std::filesystem::remove_all(m_path); // a directory when a peer has made one
}

std::unique_ptr<datastorage::DataArrayInfoStreamed> makeStreamedArray(const QString& name,
                                                                      datastorage::DataType type)
{
    auto array = std::make_unique<datastorage::DataArrayInfoStreamed>(
        name, datastorage::ParameterVoltage, type, datastorage::UsualUnit(datastorage::UnitVolt));
    array->createDataArray();
    return array;
}

FiledArrays::FiledArrays(std::size_t arrays, std::size_t samplesEach) : m_samplesEach(samplesEach)
{
    const std::vector<float> samples = measuredFloats(samplesEach);
    datastorage::CacheManager& cache = datastorage::CacheManager::instance();
    for (std::size_t i = 0; i < arrays; ++i) {
        m_arrays.push_back(makeStreamedArray(QStringLiteral("U%1").arg(i)));
        datastorage::DataArrayInfoStreamed& array = *m_arrays.back();
        array.startAddingData();
        array.addSamples(std::span<const float>(samples));
        array.endAddingData(QStringLiteral("/data/run.dat"));
    }
    for (const auto& array : m_arrays) { // only now, so that the pool is not waited for each time
        cache.awaitTaskFinished(array.get());
        array->removeFromMemory();
    }
    drainEvents();
}

FiledArrays::~FiledArrays() = default;

std::string FiledArrays::path(std::size_t index) const
{
    datastorage::CacheManager& cache = datastorage::CacheManager::instance();
    datastorage::DataArrayInfoStreamed* array = m_arrays[index].get();
    return QFile::encodeName(cache.getFullFilename(cache.getDataArrayInfoKey(array), array)).toStdString();
}

qint64 FiledArrays::totalBytes() const
{
    return static_cast<qint64>(m_arrays.size() * m_samplesEach * sizeof(float));
}

} // namespace vx::bench
