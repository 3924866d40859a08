#pragma once

#include <examples/simulate/report/plot_layout.hpp>

#include <string>

namespace simulate {

/// A gnuplot script, with all data inside, that draws the plot twice: into `name`.svg and
/// `name`.png in the working directory.
std::string plot_script(const Plot& plot, const std::string& name);

} // namespace simulate
