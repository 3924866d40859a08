#pragma once

#include <tools/terminal/json.hpp>

#include <logging2/runs/runs.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::tools::view {

/// An element of a signal.
struct ElementName {
    std::string signal;
    std::size_t element;
};

/// For each of the elements the last step up to the time, and the first one after it. Steps at
/// infinite times are left out. Throws HttpError with status 404 if the run has no such signal or
/// element.
Json values_at(const core::Run& run, const std::vector<ElementName>& elements, double time);

} // namespace logging2::tools::view
