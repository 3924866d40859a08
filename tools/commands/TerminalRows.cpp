#include <tools/commands/RowOutput.hpp>

#include <tools/terminal/Table.hpp>
#include <tools/terminal/text.hpp>

#include <algorithm>
#include <iterator>

namespace logging2::tools {
namespace {

constexpr std::size_t heldBackCount = 1000;

/// Titles are not shortened to less than this.
constexpr std::size_t recognisableWidth = 12;

/// Columns that fit the terminal. The first rows of a table are held back, because they tell how
/// wide its columns must be.
class TerminalRows final : public RowOutput {
public:
    explicit TerminalRows(const Terminal& ownerTerminal) : terminal(ownerTerminal) {}

    void beginTable(const std::vector<std::string>& titlesOfTable) override {
        end();
        if (!titles.empty()) {
            terminal.out << '\n';
        }
        titles.clear();
        std::transform(titlesOfTable.begin(), titlesOfTable.end(), std::back_inserter(titles),
                       printable);
        isHeldBack = true;
    }

    void addRow(const std::vector<std::optional<double>>& row) override {
        std::vector<std::string> cells;
        cells.reserve(row.size());
        for (const std::optional<double>& value : row) {
            cells.push_back(value ? number_text(*value) : "");
        }
        if (!isHeldBack) {
            print(cells, false);
            return;
        }
        heldBack.push_back(std::move(cells));
        if (heldBack.size() == heldBackCount) {
            end();
        }
    }

    /// Prints the rows that are held back.
    void end() override {
        if (!isHeldBack) {
            return;
        }
        isHeldBack = false;
        findWidths();
        printTitles();
        for (const std::vector<std::string>& cells : heldBack) {
            print(cells, false);
        }
        heldBack.clear();
    }

private:
    /// Columns are as wide as their numbers and at least so wide that a title can be recognised.
    void findWidths() {
        widths.clear();
        for (const std::string& title : titles) {
            widths.push_back(std::min(recognisableWidth, character_count(title)));
        }
        for (const std::vector<std::string>& cells : heldBack) {
            for (std::size_t column = 0; column < cells.size(); ++column) {
                widths[column] = std::max(widths[column], cells[column].size());
            }
        }
        shownCount = fittingCount(widths);
        widenForTitles();
    }

    /// How many columns fit, with the sign that others are missing.
    std::size_t fittingCount(const std::vector<std::size_t>& cellWidths) const {
        std::size_t used = 0;
        for (std::size_t column = 0; column < cellWidths.size(); ++column) {
            used += cellWidths[column] + (column == 0 ? 0 : columnGapWidth);
            const bool isLast = column + 1 == cellWidths.size();
            if (used + (isLast ? 0 : missingSignWidth) > *terminal.width) {
                return column;
            }
        }
        return cellWidths.size();
    }

    /// Gives what is left of the line to titles that are shortened.
    void widenForTitles() {
        std::size_t used = shownCount < titles.size() ? missingSignWidth : 0;
        for (std::size_t column = 0; column < shownCount; ++column) {
            used += widths[column] + (column == 0 ? 0 : columnGapWidth);
        }
        std::size_t room = *terminal.width - std::min(*terminal.width, used);
        for (std::size_t column = 0; column < shownCount; ++column) {
            const std::size_t wanted = std::max(widths[column], character_count(titles[column]));
            const std::size_t more = std::min(room, wanted - widths[column]);
            widths[column] += more;
            room -= more;
        }
    }

    void printTitles() const {
        std::vector<std::string> cells;
        for (std::size_t column = 0; column < shownCount; ++column) {
            cells.push_back(shortened(titles[column], widths[column]));
        }
        print(cells, shownCount < titles.size());
    }

    /// A number that is wider than those that were held back displaces those after it. The numbers
    /// that do not fit then are left out.
    void print(const std::vector<std::string>& cells, bool hasSign) const {
        std::string line;
        std::size_t used = 0;
        for (std::size_t column = 0; column < shownCount; ++column) {
            const std::string cell =
                (column == 0 ? "" : columnGap) + right_aligned(cells[column], widths[column]);
            const std::size_t further = column + 1 < shownCount ? missingSignWidth : 0;
            used += character_count(cell);
            if (used + further > *terminal.width) {
                hasSign = true;
                break;
            }
            line += cell;
        }
        terminal.out << line << (hasSign ? missingSign : "") << '\n';
    }

    const Terminal& terminal;
    std::vector<std::string> titles;
    std::vector<std::size_t> widths;
    std::size_t shownCount = 0;
    bool isHeldBack = false;
    std::vector<std::vector<std::string>> heldBack;
};

} // namespace

std::unique_ptr<RowOutput> terminal_rows(const Terminal& terminal) {
    return std::make_unique<TerminalRows>(terminal);
}

} // namespace logging2::tools
