#include <logging2/logging2.hpp>

#include <vector>

extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends) {
    using logging2::core::MemoryStreamReader;
    using logging2::core::MemoryStreamWriter;
    backends.push_back(
        logging2::core::make_backend<MemoryStreamWriter, MemoryStreamReader>({"good", "", true}));
    backends.push_back(
        logging2::core::make_backend<MemoryStreamWriter, MemoryStreamReader>({"a*b", "", true}));
}
