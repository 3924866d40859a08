#include <tests/fuzz/fuzz_target.hpp>

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <iostream>

// The entry point for libFuzzer and for the replay, the same for all targets.

namespace {

/// The files of a run are fastest if no disk is involved.
bool prefer_memory_for_files() {
    const char* const directory = "/dev/shm";
    return access(directory, W_OK | X_OK) == 0 && setenv("TMPDIR", directory, 0) == 0;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t count) {
    static const bool inMemory = prefer_memory_for_files();
    static_cast<void>(inMemory);
    try {
        logging2::core::test::ByteScript script(bytes, count);
        logging2::core::test::runScript(script);
    } catch (const std::exception& problem) {
        std::cerr << "difference: " << problem.what() << std::endl;
        std::abort();
    }
    return 0;
}
