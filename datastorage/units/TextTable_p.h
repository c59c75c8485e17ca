#pragma once

#include <QtCore/QStringView>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace vx::datastorage {

/// Finds short texts in a constant list: a hash table with open addressing that the compiler fills.
///
/// It is complete before any code of the library runs and never changes, so that look-ups need neither a
/// lock nor memory. A text longer than the longest of the list is turned away unread.
template <std::size_t Count>
class TextTable
{
public:
    /// A table of `texts`, which are all different and outlive it.
    constexpr explicit TextTable(const std::array<QStringView, Count>& texts)
    {
        m_slots.fill(EMPTY);
        for (std::size_t place = 0; place < Count; ++place) {
            m_texts[place] = asStandardView(texts[place]);
            m_longest = std::max(m_longest, m_texts[place].size());
            std::size_t slot = firstSlot(hashOf(m_texts[place]));
            while (m_slots[slot] != EMPTY)
                slot = (slot + 1) % SLOT_COUNT;
            m_slots[slot] = static_cast<std::uint8_t>(place);
        }
    }

    /// The place of `text` in the list; negative when it is not there.
    [[nodiscard]] constexpr int find(QStringView text) const
    {
        const std::u16string_view wanted = asStandardView(text);
        return wanted.size() > m_longest ? -1 : find(text, hashOf(wanted));
    }

    /// As find(), for a caller that has passed every character of `text` to addToHash() already, the first
    /// one with the hash 0.
    [[nodiscard]] constexpr int find(QStringView text, std::uint32_t hash) const
    {
        const std::u16string_view wanted = asStandardView(text);
        for (std::size_t slot = firstSlot(hash); m_slots[slot] != EMPTY; slot = (slot + 1) % SLOT_COUNT) {
            if (m_texts[m_slots[slot]] == wanted)
                return m_slots[slot];
        }
        return -1;
    }

    /// The hash of a text one character longer.
    [[nodiscard]] static constexpr std::uint32_t addToHash(std::uint32_t hash, char16_t character)
    {
        return hash * 31U + character;
    }

private:
    static constexpr std::size_t SLOT_COUNT = 512;
    static constexpr std::uint8_t EMPTY = 0xFF;
    static_assert(Count < EMPTY);

    static constexpr std::u16string_view asStandardView(QStringView text)
    {
        return {text.utf16(), static_cast<std::size_t>(text.size())};
    }

    static constexpr std::uint32_t hashOf(std::u16string_view text)
    {
        std::uint32_t hash = 0;
        for (const char16_t character : text)
            hash = addToHash(hash, character);
        return hash;
    }

    static constexpr std::size_t firstSlot(std::uint32_t hash) { return (hash ^ (hash >> 9U)) % SLOT_COUNT; }

    std::array<std::u16string_view, Count> m_texts{};
    std::array<std::uint8_t, SLOT_COUNT> m_slots{};
    std::size_t m_longest = 0;
};

} // namespace vx::datastorage
