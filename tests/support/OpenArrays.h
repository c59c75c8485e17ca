#pragma once

#include <datastorage/arrays/DataArray.h>

#include <bit>
#include <cstdint>

/// The operations of an array that only descriptors may call, opened for tests.
struct OpenArray : vx::datastorage::DataArray
{
    using DataArray::addSample;
    using DataArray::addSampleFloat;
    using DataArray::addSampleInt;
    using DataArray::addSampleInternal;
    using DataArray::capacity;
    using DataArray::clear;
    using DataArray::freeArray;
    using DataArray::getSample;
    using DataArray::getSampleFloat;
    using DataArray::getSampleInt;
    using DataArray::getSize;
    using DataArray::reserve;
    using DataArray::resize;
};

/// The bit pattern that stands for "no value": a quiet NaN.
inline constexpr std::int32_t NAN_PATTERN = 0x7FC00000;

inline vx::datastorage::DataTypeBase floatSample(float value)
{
    vx::datastorage::DataTypeBase sample;
    sample.floatValue = value;
    return sample;
}

inline vx::datastorage::DataTypeBase intSample(int value)
{
    vx::datastorage::DataTypeBase sample;
    sample.intValue = value;
    return sample;
}

/// The 32 bits of a sample, whatever they mean.
inline std::int32_t bitsOf(vx::datastorage::DataTypeBase sample)
{
    return sample.intValue;
}

inline std::int32_t bitsOf(float value)
{
    return std::bit_cast<std::int32_t>(value);
}
