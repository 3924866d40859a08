#include <tools/commands/RowOutput.hpp>

#include <tools/terminal/csv.hpp>
#include <tools/terminal/json.hpp>
#include <tools/terminal/text.hpp>

#include <algorithm>

namespace logging2::tools {
namespace {

/// Columns are at least so wide, so that most numbers of a column end at the same place.
constexpr std::size_t leastColumnWidth = 20;

/// What the formats of text have in common.
class LineOutput : public RowOutput {
public:
    explicit LineOutput(const Terminal& ownerTerminal) : terminal(ownerTerminal) {}

    void beginTable(const std::vector<std::string>& titles) override {
        if (hasTable) {
            terminal.out << '\n';
        }
        hasTable = true;
        begin(titles);
    }

protected:
    const Terminal& terminal;

private:
    virtual void begin(const std::vector<std::string>& titles) = 0;

    bool hasTable = false;
};

class TextRows final : public LineOutput {
public:
    using LineOutput::LineOutput;

    void addRow(const std::vector<std::optional<double>>& row) override {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += (column == 0 ? "" : "  ") +
                    right_aligned(row[column] ? number_text(*row[column]) : "", widths[column]);
        }
        terminal.out << line << '\n';
    }

private:
    void begin(const std::vector<std::string>& titles) override {
        widths.clear();
        std::string line;
        for (const std::string& title : titles) {
            const std::string text = printable(title);
            widths.push_back(std::max(leastColumnWidth, character_count(text)));
            line += (line.empty() ? "" : "  ") + right_aligned(text, widths.back());
        }
        terminal.out << line << '\n';
    }

    std::vector<std::size_t> widths;
};

class CsvRows final : public LineOutput {
public:
    using LineOutput::LineOutput;

    void addRow(const std::vector<std::optional<double>>& row) override {
        terminal.out << csv_line(row);
    }

private:
    void begin(const std::vector<std::string>& titles) override {
        terminal.out << csv_line(titles);
    }
};

class JsonRows final : public RowOutput {
public:
    explicit JsonRows(const Terminal& ownerTerminal) : terminal(ownerTerminal) {
        terminal.out << "{\"schema\": " << jsonSchema << ", \"tables\": [";
    }

    void beginTable(const std::vector<std::string>& titles) override {
        terminal.out << (hasTable ? "\n]},\n" : "\n") << "{\"columns\": "
                     << Json(titles).dump(-1, ' ', false, Json::error_handler_t::replace)
                     << ", \"rows\": [";
        hasTable = true;
        hasRow = false;
    }

    void addRow(const std::vector<std::optional<double>>& row) override {
        terminal.out << (hasRow ? ",\n[" : "\n[");
        for (std::size_t column = 0; column < row.size(); ++column) {
            terminal.out << (column == 0 ? "" : ", ")
                         << (row[column] ? json_number(*row[column]) : Json()).dump();
        }
        terminal.out << ']';
        hasRow = true;
    }

    void end() override { terminal.out << (hasTable ? "\n]}" : "") << "\n]}\n"; }

private:
    const Terminal& terminal;
    bool hasTable = false;
    bool hasRow = false;
};

} // namespace

std::unique_ptr<RowOutput> text_rows(const Terminal& terminal) {
    if (terminal.width) {
        return terminal_rows(terminal);
    }
    return std::make_unique<TextRows>(terminal);
}

std::unique_ptr<RowOutput> csv_rows(const Terminal& terminal) {
    return std::make_unique<CsvRows>(terminal);
}

std::unique_ptr<RowOutput> json_rows(const Terminal& terminal) {
    return std::make_unique<JsonRows>(terminal);
}

} // namespace logging2::tools
