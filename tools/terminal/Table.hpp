#pragma once

#include <tools/terminal/Terminal.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace logging2::tools {

/// Stands between columns.
inline constexpr const char* columnGap = "  ";
inline constexpr std::size_t columnGapWidth = 2;

/// Stands at the end of the titles if columns are missing.
inline constexpr const char* missingSign = " …";
inline constexpr std::size_t missingSignWidth = 2;

/// A table of texts, as wide as its cells. On a terminal that is too narrow, names, notes and lists
/// become shorter, and if that is not enough, columns are left out; then the header ends with "…".
/// Numbers are never shortened.
class Table {
public:
    /// What the cells of a column are.
    enum class Content {
        word,   ///< short, and never shortened
        number, ///< never shortened, and aligned to the right
        name,   ///< shortened in the middle
        note,   ///< shortened after a word
        list    ///< numbers; shortened after a number, and aligned to the right
    };

    struct Column {
        std::string title;
        Content content = Content::word;
        /// The columns of least need are left out first; of the same need, the last one.
        int need = 0;
    };

    /// The first column is never left out.
    explicit Table(std::vector<Column> columnsOfTable);

    /// Adds a row with one cell per column. Control characters are made visible.
    void add(std::vector<std::string> cells);

    void print(const Terminal& terminal) const;

private:
    /// A column that is shown.
    struct Shown {
        std::size_t column;
        std::size_t width;
    };

    std::size_t naturalWidth(std::size_t column) const;
    bool isElastic(std::size_t column) const;
    std::vector<Shown> shownColumns(const Terminal& terminal) const;
    void leaveOutColumns(std::vector<Shown>& shown, std::size_t lineWidth) const;
    void shrink(std::vector<Shown>& shown, std::size_t lineWidth) const;
    std::string cell(const std::string& text, const Shown& place) const;
    std::string line(const std::vector<std::string>& cells, const std::vector<Shown>& shown) const;

    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows;
};

} // namespace logging2::tools
