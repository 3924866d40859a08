#pragma once

#include <string>

namespace logging2::core {

/// The stem "times_" of the names of a file-backed stream's times files. Always the same object;
/// it is created on the first call, on any thread, and never destroyed.
inline const std::u16string& times() {
    static const std::u16string* const stem = new std::u16string(u"times_");
    return *stem;
}

/// The stem "values_" of the names of a file-backed stream's values files, likewise.
inline const std::u16string& values() {
    static const std::u16string* const stem = new std::u16string(u"values_");
    return *stem;
}

} // namespace logging2::core
