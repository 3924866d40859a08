#pragma once

#include <logging2/export.hpp>

#include <string>

namespace logging2::core {

namespace detail {

/// Returns the string behind times(). It is defined in this library only, so all libraries of a
/// process share one object, even a library that hides its own symbols.
LOGGING2_EXPORT const std::u16string& times_stem();

/// Returns the string behind values(). All libraries of a process share one object.
LOGGING2_EXPORT const std::u16string& values_stem();

} // namespace detail

/// Returns "times_", the stem in the names of a native stream's times files.
///
/// Every call in every library of the process returns the same object. It is created on the first
/// call and never destroyed. Any thread may call.
inline const std::u16string& times() {
    return detail::times_stem();
}

/// Returns "values_", the stem in the names of a native stream's values files.
///
/// Every call in every library of the process returns the same object. It is created on the first
/// call and never destroyed. Any thread may call.
inline const std::u16string& values() {
    return detail::values_stem();
}

} // namespace logging2::core
