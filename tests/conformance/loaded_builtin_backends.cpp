#include <logging2/backends/builtin/builtin_backends.hpp>

// A shared library that offers several back-ends.

extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends) {
    backends = logging2::core::builtin_backends();
}
