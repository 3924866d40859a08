#include <logging2/lookup/Backend.hpp>

extern "C" void logging2_backends(std::vector<logging2::core::Backend>&) {
    throw 42;
}
