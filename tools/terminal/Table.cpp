#include <tools/terminal/Table.hpp>

#include <tools/terminal/text.hpp>

#include <algorithm>
#include <utility>

namespace logging2::tools {
namespace {

/// A column is left out rather than shortened to less than this.
constexpr std::size_t leastElasticWidth = 12;

template <class ShownColumns>
std::size_t width_of(const ShownColumns& shown) {
    std::size_t width = columnGapWidth * (shown.size() - 1);
    for (const auto& each : shown) {
        width += each.width;
    }
    return width;
}

} // namespace

Table::Table(std::vector<Column> columnsOfTable) : columns(std::move(columnsOfTable)) {}

void Table::add(std::vector<std::string> cells) {
    std::transform(cells.begin(), cells.end(), cells.begin(), printable);
    rows.push_back(std::move(cells));
}

std::size_t Table::naturalWidth(std::size_t column) const {
    std::size_t width = character_count(columns[column].title);
    for (const std::vector<std::string>& row : rows) {
        width = std::max(width, character_count(row[column]));
    }
    return width;
}

bool Table::isElastic(std::size_t column) const {
    const Content content = columns[column].content;
    return content != Content::word && content != Content::number;
}

std::vector<Table::Shown> Table::shownColumns(const Terminal& terminal) const {
    std::vector<Shown> shown;
    for (std::size_t column = 0; column < columns.size(); ++column) {
        shown.push_back({column, naturalWidth(column)});
    }
    if (terminal.width && width_of(shown) > *terminal.width) {
        leaveOutColumns(shown, *terminal.width);
        const bool isComplete = shown.size() == columns.size();
        shrink(shown,
               *terminal.width - (isComplete ? 0 : std::min(missingSignWidth, *terminal.width)));
    }
    return shown;
}

void Table::leaveOutColumns(std::vector<Shown>& shown, std::size_t lineWidth) const {
    const auto leastWidth = [this, &shown] {
        std::vector<Shown> least = shown;
        for (Shown& each : least) {
            each.width =
                isElastic(each.column) ? std::min(each.width, leastElasticWidth) : each.width;
        }
        return width_of(least) + (shown.size() < columns.size() ? missingSignWidth : 0);
    };
    while (shown.size() > 1 && leastWidth() > lineWidth) {
        auto leastNeeded = shown.end() - 1;
        for (auto each = leastNeeded; each != shown.begin(); --each) {
            if (columns[each->column].need < columns[leastNeeded->column].need) {
                leastNeeded = each;
            }
        }
        shown.erase(leastNeeded);
    }
}

void Table::shrink(std::vector<Shown>& shown, std::size_t lineWidth) const {
    while (width_of(shown) > lineWidth) {
        Shown* widest = nullptr;
        for (Shown& each : shown) {
            if ((isElastic(each.column) || shown.size() == 1) &&
                (widest == nullptr || each.width > widest->width)) {
                widest = &each;
            }
        }
        if (widest == nullptr || widest->width == 0) {
            return;
        }
        --widest->width;
    }
}

std::string Table::cell(const std::string& text, const Shown& place) const {
    const Content content = columns[place.column].content;
    const std::string fitting = content == Content::name ? shortened(text, place.width)
                                                         : shortened_after_word(text, place.width);
    if (content == Content::number || content == Content::list) {
        return right_aligned(fitting, place.width);
    }
    return fitting + std::string(place.width - character_count(fitting), ' ');
}

std::string Table::line(const std::vector<std::string>& cells,
                        const std::vector<Shown>& shown) const {
    std::string result;
    for (const Shown& each : shown) {
        result += (result.empty() ? "" : columnGap) + cell(cells[each.column], each);
    }
    result.erase(result.find_last_not_of(' ') + 1);
    return result;
}

void Table::print(const Terminal& terminal) const {
    const std::vector<Shown> shown = shownColumns(terminal);
    std::vector<std::string> titles;
    for (const Column& column : columns) {
        titles.push_back(column.title);
    }
    const std::string header =
        line(titles, shown) + (shown.size() < columns.size() ? missingSign : "");
    terminal.out << (terminal.hasColors ? "\x1b[1m" + header + "\x1b[0m" : header) << '\n';
    for (const std::vector<std::string>& row : rows) {
        terminal.out << line(row, shown) << '\n';
    }
}

} // namespace logging2::tools
