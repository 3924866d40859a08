#pragma once

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>

namespace logging2::tools {

/// Where a command writes to, and what it may do there.
struct Terminal {
    /// The process's standard output and error.
    static Terminal ofProcess();

    /// Prints a line to `out`, divided into lines that fit.
    void printLine(const std::string& text) const;

    /// Results.
    std::ostream& out;
    /// Messages and the progress bar.
    std::ostream& error;
    /// How many characters fit into a line of `out`; empty if `out` is no terminal.
    std::optional<std::size_t> width;
    /// Whether `out` shows colours.
    bool hasColors = false;
    /// Whether `error` is a terminal, on which a progress bar can be drawn.
    bool hasProgress = false;
    /// Whether `out` is a file, and so neither a terminal nor another program.
    bool isFile = false;
};

} // namespace logging2::tools
