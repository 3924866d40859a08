#include <tools/terminal/Table.hpp>

#include <tools/terminal/text.hpp>

#include <algorithm>
#include <numeric>
#include <utility>

namespace logging2::tools {
namespace {

constexpr const char* gap = "  ";
constexpr std::size_t gapWidth = 2;

/// Elastic columns do not become narrower than this.
constexpr std::size_t leastElasticWidth = 8;

std::string padded(const std::string& text, std::size_t width, bool isRight) {
    const std::size_t count = character_count(text);
    const std::string blanks(width - std::min(width, count), ' ');
    return isRight ? blanks + text : text + blanks;
}

} // namespace

Table::Table(std::vector<Column> columnsOfTable) : columns(std::move(columnsOfTable)) {}

void Table::add(std::vector<std::string> cells) {
    std::transform(cells.begin(), cells.end(), cells.begin(), printable);
    rows.push_back(std::move(cells));
}

std::vector<std::size_t> Table::widths(const Terminal& terminal) const {
    std::vector<std::size_t> result;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        std::size_t width = character_count(columns[column].title);
        for (const std::vector<std::string>& row : rows) {
            width = std::max(width, character_count(row[column]));
        }
        result.push_back(width);
    }
    if (!terminal.width) {
        return result;
    }
    const auto lineWidth = [&result] {
        return std::accumulate(result.begin(), result.end(), gapWidth * (result.size() - 1));
    };
    while (lineWidth() > *terminal.width) {
        std::size_t* widest = nullptr;
        for (std::size_t column = 0; column < columns.size(); ++column) {
            if (columns[column].isElastic && result[column] > leastElasticWidth &&
                (widest == nullptr || result[column] > *widest)) {
                widest = &result[column];
            }
        }
        if (widest == nullptr) {
            break;
        }
        --*widest;
    }
    return result;
}

std::string Table::line(const std::vector<std::string>& cells,
                        const std::vector<std::size_t>& widths) const {
    std::string result;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        const std::string cell = shortened(cells[column], widths[column]);
        result +=
            (column == 0 ? "" : gap) + padded(cell, widths[column], columns[column].isNumeric);
    }
    result.erase(result.find_last_not_of(' ') + 1);
    return result;
}

void Table::print(const Terminal& terminal) const {
    const std::vector<std::size_t> widthsOfColumns = widths(terminal);
    const auto printLine = [&](const std::vector<std::string>& cells, bool isTitle) {
        std::string text = line(cells, widthsOfColumns);
        if (terminal.width) {
            text = cut(text, *terminal.width);
        }
        terminal.out << (isTitle && terminal.hasColors ? "\x1b[1m" + text + "\x1b[0m" : text)
                     << '\n';
    };
    std::vector<std::string> titles;
    for (const Column& column : columns) {
        titles.push_back(column.title);
    }
    printLine(titles, true);
    for (const std::vector<std::string>& row : rows) {
        printLine(row, false);
    }
}

} // namespace logging2::tools
