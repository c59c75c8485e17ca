#pragma once

#include <datastorage/arrays/DataType.h>

#include <QtCore/qglobal.h>

#include <limits>

namespace vx::datastorage {

/// A sample that is not there: the quiet float NaN, read as an int 2143289344.
inline DataTypeBase missingSample()
{
    DataTypeBase sample;
    sample.intValue = 0x7FC00000;
    return sample;
}

/// C-heap blocks of samples that know how many use them.
///
/// A block starts with one user, the array that owns it. A thread that reads or writes the samples
/// while the array may be emptied adds itself as a user; the block is freed when the last user
/// releases it, so nobody's memory goes away underneath.
///
/// Threads: addUser() and release() from any thread; the other functions by the owner alone.
namespace SampleBlock {

/// The most samples a block may have, so that its byte count fits every signed 64-bit computation.
inline constexpr qint64 maximumSamples = (std::numeric_limits<qint64>::max() - 64) / 4 / 4;

/// A new block of `count` samples with undefined content, or null when the memory is refused.
[[nodiscard]] DataTypeBase* allocate(qint64 count);

/// A block of `count` samples with the first `used` samples of `block` (which may be null). Takes over
/// `block` on success; returns null and leaves `block` as it is when the memory is refused. A block
/// with other users is copied and released, one without is resized in place where possible.
[[nodiscard]] DataTypeBase* resize(DataTypeBase* block, qint64 used, qint64 count);

/// Adds a user to `block`, which must not be null.
void addUser(DataTypeBase* block);

/// Whether `block` (null is not) has more users than the one that asks.
[[nodiscard]] bool isShared(DataTypeBase* block);

/// Takes one user away from `block` (null is ignored); the last one frees it.
void release(DataTypeBase* block);

} // namespace SampleBlock

/// Uses a block for a scope.
class SampleBlockUser
{
public:
    /// Adds itself to `block`, which may be null.
    explicit SampleBlockUser(DataTypeBase* block) : m_block(block)
    {
        if (m_block)
            SampleBlock::addUser(m_block);
    }
    ~SampleBlockUser() { SampleBlock::release(m_block); }
    SampleBlockUser(SampleBlockUser&& other) noexcept : m_block(other.m_block) { other.m_block = nullptr; }
    SampleBlockUser(const SampleBlockUser&) = delete;
    SampleBlockUser& operator=(const SampleBlockUser&) = delete;
    SampleBlockUser& operator=(SampleBlockUser&&) = delete;

    DataTypeBase* samples() const { return m_block; }

private:
    DataTypeBase* m_block;
};

} // namespace vx::datastorage
