#include <tools/exporting/export_csv.hpp>

#include <tools/commands/RowOutput.hpp>
#include <tools/reading/MergedReader.hpp>

#include <memory>

namespace logging2::tools {
namespace {

constexpr std::uint64_t blockRowCount = 1024;

class CsvExport {
public:
    CsvExport(const Excerpt& excerptToPrint, const Terminal& terminal,
              const core::RecordingProgress& progressSink)
        : excerpt(excerptToPrint),
          output(csv_rows(terminal)),
          progress(progressSink),
          stepCount(greatest_step_count(excerpt)) {}

    void addGroups() {
        for (const GroupSignals& group : excerpt.groups) {
            output->beginTable(column_titles({group}));
            StepReader steps(excerpt.run, group, excerpt.range);
            while (steps.next()) {
                std::vector<std::optional<double>> row{steps.time()};
                append_values(steps, row);
                add(row);
            }
        }
    }

    void addMerged() {
        output->beginTable(column_titles(excerpt.groups));
        MergedReader steps(excerpt.run, excerpt.groups, excerpt.range);
        while (steps.next()) {
            add(steps.row());
        }
    }

    std::uint64_t end() {
        output->end();
        progress(stepCount, stepCount);
        return rowCount;
    }

private:
    void add(const std::vector<std::optional<double>>& row) {
        output->addRow(row);
        if (++rowCount % blockRowCount == 0) {
            progress(rowCount, stepCount);
        }
    }

    const Excerpt& excerpt;
    std::unique_ptr<RowOutput> output;
    const core::RecordingProgress& progress;
    std::uint64_t stepCount; ///< at most
    std::uint64_t rowCount = 0;
};

} // namespace

std::uint64_t export_csv(const Excerpt& excerpt, bool merges, const Terminal& terminal,
                         const core::RecordingProgress& progress) {
    CsvExport csv(excerpt, terminal, progress);
    if (merges) {
        csv.addMerged();
    } else {
        csv.addGroups();
    }
    return csv.end();
}

} // namespace logging2::tools
