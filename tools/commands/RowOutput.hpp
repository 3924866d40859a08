#pragma once

#include <tools/terminal/Terminal.hpp>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::tools {

/// Prints tables of numbers, row by row, and keeps none of them.
class RowOutput {
public:
    virtual ~RowOutput() = default;

    RowOutput() = default;
    RowOutput(const RowOutput&) = delete;
    RowOutput& operator=(const RowOutput&) = delete;

    /// Ends the table before, and begins one with these columns.
    virtual void beginTable(const std::vector<std::string>& titles) = 0;

    /// One number per column, or nothing.
    virtual void addRow(const std::vector<std::optional<double>>& row) = 0;

    /// Ends the last table.
    virtual void end() {}
};

/// Columns that are aligned to the right, with an empty line between tables. On a terminal, only
/// those that fit.
std::unique_ptr<RowOutput> text_rows(const Terminal& terminal);

/// The same for a terminal.
std::unique_ptr<RowOutput> terminal_rows(const Terminal& terminal);

/// Comma-separated values as in RFC 4180, with an empty line between tables.
std::unique_ptr<RowOutput> csv_rows(const Terminal& terminal);

/// One JSON object: {"schema": …, "tables": [{"columns": […], "rows": [[…], …]}, …]}.
std::unique_ptr<RowOutput> json_rows(const Terminal& terminal);

} // namespace logging2::tools
