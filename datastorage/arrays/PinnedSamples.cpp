#include <datastorage/arrays/PinnedSamples.h>

#include <datastorage/arrays/PinnedSamples_p.h>

#include <utility>

namespace vx::datastorage {

PinnedSamples::PinnedSamples() = default;

PinnedSamples::~PinnedSamples() = default;

PinnedSamples::PinnedSamples(PinnedSamples&& other) noexcept
    : m_pin(std::move(other.m_pin)),
      m_samples(std::exchange(other.m_samples, nullptr)),
      m_first(std::exchange(other.m_first, 0)),
      m_count(std::exchange(other.m_count, 0))
{}

PinnedSamples& PinnedSamples::operator=(PinnedSamples&& other) noexcept
{
    m_pin = std::move(other.m_pin);
    m_samples = std::exchange(other.m_samples, nullptr);
    m_first = std::exchange(other.m_first, 0);
    m_count = std::exchange(other.m_count, 0);
    return *this;
}

std::span<const float> PinnedSamples::floats() const
{
    return {reinterpret_cast<const float*>(m_samples), static_cast<std::size_t>(m_count)};
}

std::span<const int> PinnedSamples::ints() const
{
    return {reinterpret_cast<const int*>(m_samples), static_cast<std::size_t>(m_count)};
}

} // namespace vx::datastorage
