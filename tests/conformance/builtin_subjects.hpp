#pragma once

#include <logging2/backends/builtin/builtin_backends.hpp>
#include <logging2/conformance/conformance.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace logging2::core::conformance {

inline Supports supports_of_builtin(const std::string& name) {
    const bool isMemory = name != "native";
    Supports supports;
    supports.rollbackOnTimeRegression = isMemory;
    supports.closeFlushes = isMemory;
    supports.pointLimit = name == "memory-restricted";
    supports.readersDelete = !isMemory;
    return supports;
}

/// The built-in back-end of that name.
inline Subject builtin_subject(const std::string& name) {
    for (const Backend& backend : builtin_backends()) {
        if (backend.name == name) {
            return subject_of(backend, supports_of_builtin(name));
        }
    }
    throw std::out_of_range("there is no built-in back-end " + name);
}

} // namespace logging2::core::conformance
