#include <benchmarks/process/guarded_main.hpp>

#include <cstdio>
#include <exception>

namespace logging2::core::bench {

int guarded_main(int (*function)(int, char**), int argc, char** argv) {
    try {
        return function(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}

} // namespace logging2::core::bench
