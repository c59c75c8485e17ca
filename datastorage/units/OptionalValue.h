#pragma once

#include <utility>

namespace vx::datastorage {

/// A value that may be missing, such as a parameter that was not measured or a field left empty.
///
/// Unlike std::optional it has a value even when it is absent, and that value is stored with it.
template <typename T>
struct OptionalValue
{
    /// An absent value; `value` is value-initialised.
    OptionalValue() = default;

    /// A present value.
    OptionalValue(T presentValue) : value(std::move(presentValue)), exists(true) {}

    T value{};           ///< the value; when absent, what it happens to be
    bool exists = false; ///< whether the value is present
};

} // namespace vx::datastorage
