#pragma once

#include <cstddef>
#include <vector>

namespace simulate {

/// Which samples a back-end kept although they were to be taken back: those that a later sample
/// stands before in time. Ascending indices; empty where every rollback was obeyed.
std::vector<std::size_t> rejected_samples(const std::vector<double>& times);

/// The other samples: the run as it was accepted. Ascending indices, parallel times ascend.
std::vector<std::size_t> accepted_samples(const std::vector<double>& times);

/// One component of a path's sample-major values: one value per sample.
std::vector<double> component_of(const std::vector<double>& values, std::size_t width,
                                 std::size_t component);

/// A selection of the indices that draws the same curve: at most about sampleLimit of them (at
/// least 4), with the first, the last, and the smallest and largest value of every stretch.
std::vector<std::size_t> thin_samples(const std::vector<std::size_t>& indices,
                                      const std::vector<double>& values, std::size_t sampleLimit);

} // namespace simulate
