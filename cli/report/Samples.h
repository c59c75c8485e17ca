#pragma once

namespace vx::cli {

/// The whole number that stands for a missing sample in an array of whole numbers: the bits of the quiet
/// NaN of an array of floats.
inline constexpr int MISSING_INT = 0x7FC00000;

} // namespace vx::cli
