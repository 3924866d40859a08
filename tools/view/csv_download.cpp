#include <tools/view/csv_download.hpp>

#include <tools/commands/RowOutput.hpp>
#include <tools/reading/MergedReader.hpp>
#include <tools/reading/StepReader.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/signals.hpp>

#include <algorithm>
#include <atomic>
#include <iostream>
#include <optional>
#include <sstream>
#include <tuple>
#include <utility>

namespace logging2::tools::view {
namespace {

/// So many bytes are sent at a time.
constexpr std::size_t pieceByteCount = std::size_t{64} * 1024;
constexpr std::size_t greatestDownloadCount = 8;

/// The right to one of the few downloads.
class Slot {
public:
    Slot() {
        if (++count() > greatestDownloadCount) {
            --count();
            throw HttpError(status::unavailable, "There are too many downloads; try again.");
        }
    }
    ~Slot() { --count(); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

private:
    static std::atomic<std::size_t>& count() {
        static std::atomic<std::size_t> downloads{0};
        return downloads;
    }
};

/// In the order of Run::signals(), each once.
std::vector<core::SignalInfo> chosen(const core::Run& run, const std::vector<std::string>& paths) {
    std::vector<core::SignalInfo> result;
    for (const core::SignalInfo& signal : run.signals()) {
        if (std::find(paths.begin(), paths.end(), signal.path.text()) != paths.end()) {
            result.push_back(signal);
        }
    }
    return result;
}

class CsvDownload {
public:
    CsvDownload(std::unique_ptr<core::Run> ownRun, const std::vector<std::string>& paths,
                const TimeRange& timeRange)
        : run(std::move(ownRun)),
          groups(by_group(chosen(*run, paths))),
          range(timeRange) {}

    /// The next piece of text; empty at the end.
    std::string next() {
        text.str({});
        while (static_cast<std::size_t>(text.tellp()) < pieceByteCount && addRow()) {
        }
        return text.str();
    }

private:
    /// Adds a row or the titles of a group.
    bool addRow() {
        if (steps && steps->next()) {
            std::vector<std::optional<double>> row{steps->time()};
            append_values(*steps, row);
            output->addRow(row);
            return true;
        }
        if (group == groups.size()) {
            return false;
        }
        output->beginTable(column_titles({groups[group]}));
        steps.emplace(*run, groups[group++], range);
        return true;
    }

    Slot slot;
    std::unique_ptr<core::Run> run;
    std::vector<GroupSignals> groups;
    TimeRange range;
    std::ostringstream text;
    Terminal terminal{text, std::cerr, std::nullopt};
    std::unique_ptr<RowOutput> output = csv_rows(terminal);
    std::size_t group = 0; ///< the next one
    std::optional<StepReader> steps;
};

} // namespace

Reply csv_download(std::unique_ptr<core::Run> run, const std::vector<std::string>& signals,
                   const TimeRange& range) {
    for (const std::string& signal : signals) {
        signal_of(*run, signal);
    }
    const std::string name = "logging2-" + run->info().id.substr(0, 8) + ".csv";
    const auto download = std::make_shared<CsvDownload>(std::move(run), signals, range);
    Reply reply;
    reply.contentType = "text/csv; charset=utf-8";
    reply.headers.emplace_back("Content-Disposition", "attachment; filename=\"" + name + '"');
    reply.next = [download](const Sink& sink) {
        const std::string piece = download->next();
        return !piece.empty() && sink(piece);
    };
    return reply;
}

} // namespace logging2::tools::view
