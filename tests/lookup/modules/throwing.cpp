#include <logging2/logging2.hpp>

#include <stdexcept>
#include <vector>

extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends) {
    backends.push_back(logging2::core::make_backend<logging2::core::MemoryStreamWriter,
                                                    logging2::core::MemoryStreamReader>(
        {"never registered", "", false, false}));
    throw std::domain_error("no licence");
}
