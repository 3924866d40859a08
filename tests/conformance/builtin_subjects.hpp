#pragma once

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/conformance/conformance.hpp>

#include <stdexcept>
#include <string>

namespace logging2::core::conformance {

/// The built-in back-end of that name.
inline Subject builtin(const std::string& name, const Supports& supports) {
    for (const Backend& backend : builtin_backends()) {
        if (backend.name == name) {
            return subject_of(backend, supports);
        }
    }
    throw std::out_of_range("there is no built-in back-end " + name);
}

inline Subject memory() {
    Supports supports;
    supports.rollbackOnTimeRegression = true;
    supports.closeFlushes = true;
    return builtin("memory", supports);
}

inline Subject memory_restricted() {
    Supports supports = memory().supports;
    supports.pointLimit = true;
    return builtin("memory-restricted", supports);
}

inline Subject native() {
    Supports supports;
    supports.readersDelete = true;
    return builtin("native", supports);
}

} // namespace logging2::core::conformance
