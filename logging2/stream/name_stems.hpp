#pragma once

#include <logging2/export.hpp>

#include <string>

namespace logging2::core {

namespace detail {

/// The object that times() returns. Only this library defines it, so all libraries of a process
/// share it, also a library that hides its own symbols.
LOGGING2_EXPORT const std::u16string& times_stem();

/// The object behind values(), likewise.
LOGGING2_EXPORT const std::u16string& values_stem();

} // namespace detail

/// The stem "times_" of the names of a file-backed stream's times files. Always the same object, in
/// every library of the process; it is created on the first call, on any thread, and never
/// destroyed.
inline const std::u16string& times() {
    return detail::times_stem();
}

/// The stem "values_" of the names of a file-backed stream's values files, likewise.
inline const std::u16string& values() {
    return detail::values_stem();
}

} // namespace logging2::core
