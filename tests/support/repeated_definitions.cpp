/// For a test program that compiles sources of the library once more, although it is linked to the
/// library: AddressSanitizer takes what both define for a mistake.
extern "C" const char* __asan_default_options();

extern "C" const char* __asan_default_options() {
    return "detect_odr_violation=0";
}
