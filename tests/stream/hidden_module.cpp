#include <logging2/stream/name_stems.hpp>

// A library that hides its inline functions and their static objects.

extern "C" {

[[gnu::visibility("default")]] const void* times_of_the_module() {
    return &logging2::core::times();
}

[[gnu::visibility("default")]] const void* values_of_the_module() {
    return &logging2::core::values();
}

} // extern "C"
