#include <logging2/lookup/Backend.hpp>

#include <vector>

// This library does not export the function, but depends on one that does.

extern "C" void logging2_backends(std::vector<logging2::core::Backend>& backends);

void offer_backends(std::vector<logging2::core::Backend>& backends) {
    logging2_backends(backends);
}
