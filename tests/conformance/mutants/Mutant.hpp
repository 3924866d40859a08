#pragma once

#include <tests/conformance/mutants/Faults.hpp>

#include <ostream>
#include <vector>

namespace logging2::core::conformance {

/// A back-end with one fault, and the promise that finds it.
struct Mutant {
    const char* fault;
    const char* brokenPromise;
    Base base;
    void (*plant)(Faults& faults, Subject& declared);

    friend std::ostream& operator<<(std::ostream& stream, const Mutant& mutant) {
        return stream << mutant.fault;
    }
};

std::vector<Mutant> mutants_of_writing();
std::vector<Mutant> mutants_of_ending();
std::vector<Mutant> mutants_of_rollback();
std::vector<Mutant> mutants_of_deep_rollback();
std::vector<Mutant> mutants_of_reading();
std::vector<Mutant> mutants_of_services();
std::vector<Mutant> mutants_of_threads();

} // namespace logging2::core::conformance
