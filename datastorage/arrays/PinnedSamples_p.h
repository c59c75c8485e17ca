#pragma once

#include <datastorage/arrays/PinnedSamples.h>
#include <datastorage/arrays/SampleBlock_p.h>

#include <atomic>
#include <memory>
#include <utility>

namespace vx::datastorage {

/// How many views hold an array; shared with the views, which may outlive the array.
using PinCount = std::shared_ptr<std::atomic<int>>;

/// What a view holds: the block and a count of its array.
struct PinnedSamples::Pin
{
    Pin(SampleBlockUser&& usedBlock, PinCount pinCount)
        : block(std::move(usedBlock)), pins(std::move(pinCount))
    {}
    ~Pin() { pins->fetch_sub(1); }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

    SampleBlockUser block;
    PinCount pins; ///< already counted
};

} // namespace vx::datastorage
