#pragma once

#include <tools/terminal/Terminal.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::tools {

/// A table of texts, as wide as its cells. On a terminal that is too narrow, elastic columns become
/// narrower, and if that is not enough, lines end at the border.
class Table {
public:
    struct Column {
        std::string title;
        bool isNumeric = false; ///< aligned to the right
        bool isElastic = false; ///< its cells may be shortened
    };

    explicit Table(std::vector<Column> columnsOfTable);

    /// Adds a row with one cell per column. Control characters are made visible.
    void add(std::vector<std::string> cells);

    void print(const Terminal& terminal) const;

private:
    std::vector<std::size_t> widths(const Terminal& terminal) const;
    std::string line(const std::vector<std::string>& cells,
                     const std::vector<std::size_t>& widths) const;

    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

} // namespace logging2::tools
