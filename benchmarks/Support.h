#pragma once

#include <datastorage/arrays/DataArrayInfoStreamed.h>

#include <QtCore/QString>

#include <benchmark/benchmark.h>

#include <bit>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// What the benchmarks share.
///
/// A case is called "Job/library", "Job/limit" or "Job/<peer>"; a job may have a slash itself
/// ("AddBlock/Float"). The report pairs the cases of one job.
namespace vx::bench {

/// Whether the cases with 10^8 samples (400 MB in memory and on disk) are wanted.
bool wantsBigCases();
void setWantsBigCases(bool wanted);

/// Reproducible measured-looking floats, from `seed`; from a million on the first million again and again.
std::vector<float> measuredFloats(std::size_t count, unsigned seed = 1);

/// Reproducible positions from 0 to `below` - 1.
std::vector<qint64> randomPositions(std::size_t count, qint64 below, unsigned seed = 1);

/// Draws positions from 0 to `below` - 1 as they are needed, as a caller that looks here and there
/// would find them: three instructions that depend on the draw before.
class RandomPositions
{
public:
    explicit RandomPositions(std::size_t below) : m_below(below) {}
    qint64 next()
    {
        m_state = m_state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<qint64>(((m_state >> 32) * m_below) >> 32);
    }

private:
    quint64 m_below;
    quint64 m_state = 1;
};

/// The main thread's event loop has nothing left to do.
void drainEvents();

/// A file with a new name each, removed with the object.
class ScratchFile
{
public:
    ScratchFile();
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
};

/// Streamed float arrays that are filed in the cache, written and not in memory.
class FiledArrays
{
public:
    FiledArrays(std::size_t arrays, std::size_t samplesEach);
    ~FiledArrays();
    FiledArrays(const FiledArrays&) = delete;
    FiledArrays& operator=(const FiledArrays&) = delete;

    datastorage::DataArrayInfoStreamed& operator[](std::size_t index) { return *m_arrays[index]; }
    /// The cache file of an array.
    std::string path(std::size_t index) const;
    qint64 totalBytes() const;

private:
    std::vector<std::unique_ptr<datastorage::DataArrayInfoStreamed>> m_arrays;
    std::size_t m_samplesEach;
};

/// A new streamed array, of floats or ints, that no cache knows.
std::unique_ptr<datastorage::DataArrayInfoStreamed>
makeStreamedArray(const QString& name = QStringLiteral("U"), datastorage::DataType type = datastorage::Float);

/// What one iteration of the case handles.
inline void countItems(benchmark::State& state, std::size_t items)
{
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
}
inline void countBytes(benchmark::State& state, std::size_t bytes)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

/// Takes a sample that was read: it has to arrive in a register, one at a time. (DoNotOptimize() is content
/// with the address of an element, so that nothing would be read.)
inline void use(float sample)
{
    asm volatile("" : : "r"(std::bit_cast<std::uint32_t>(sample)));
}

/// Seconds that `work` takes.
template <typename Work>
double secondsOf(Work work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace vx::bench
