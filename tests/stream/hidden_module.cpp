#include <logging2/stream/name_stems.hpp>

// A library whose inline functions and their objects nobody else sees.

extern "C" {

[[gnu::visibility("default")]] const void* times_of_the_module() {
    return &logging2::core::times();
}

[[gnu::visibility("default")]] const void* values_of_the_module() {
    return &logging2::core::values();
}

} // extern "C"
