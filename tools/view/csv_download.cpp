#include <tools/view/csv_download.hpp>

#include <tools/commands/RowOutput.hpp>
#include <tools/reading/MergedReader.hpp>
#include <tools/reading/StepReader.hpp>
#include <tools/view/HttpError.hpp>
#include <tools/view/signals.hpp>

#include <atomic>
#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <sstream>
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

/// Which elements of a signal are wanted.
struct Elements {
    bool areAll = false;
    std::set<std::size_t> numbers;

    bool has(std::size_t element) const { return areAll || numbers.count(element) != 0; }
};

/// By the names of the signals.
using Choice = std::map<std::string, Elements>;

Choice choice_of(const std::vector<SignalPart>& parts) {
    Choice result;
    for (const SignalPart& part : parts) {
        Elements& elements = result[part.signal];
        if (part.element) {
            elements.numbers.insert(*part.element);
        } else {
            elements.areAll = true;
        }
    }
    return result;
}

/// In the order of Run::signals(). Throws HttpError if there is no such signal or element.
std::vector<core::SignalInfo> chosen(const core::Run& run, const Choice& choice) {
    Choice missing = choice;
    const std::vector<core::SignalInfo> all = run.signals();
    std::vector<core::SignalInfo> result;
    for (const core::SignalInfo& signal : all) {
        const auto found = missing.find(name_of(signal));
        if (found == missing.end()) {
            continue;
        }
        if (!found->second.numbers.empty()) {
            check_element(signal, *found->second.numbers.rbegin());
        }
        missing.erase(found);
        result.push_back(signal);
    }
    if (!missing.empty()) {
        signal_in(all, missing.begin()->first);
    }
    return result;
}

/// Which columns of a group are wanted; the first one is the time.
std::vector<bool> columns_of(const GroupSignals& group, const Choice& choice) {
    std::vector<bool> result{true};
    for (const core::SignalInfo& signal : group.signals) {
        const Elements& elements = choice.at(name_of(signal));
        for (std::size_t element = 0; element < signal.width; ++element) {
            result.push_back(elements.has(element));
        }
    }
    return result;
}

template <class Cell>
std::vector<Cell> kept(const std::vector<Cell>& cells, const std::vector<bool>& columns) {
    std::vector<Cell> result;
    for (std::size_t column = 0; column < cells.size(); ++column) {
        if (columns[column]) {
            result.push_back(cells[column]);
        }
    }
    return result;
}

class CsvDownload {
public:
    CsvDownload(std::unique_ptr<core::Run> ownRun, const std::vector<SignalPart>& parts,
                const TimeRange& timeRange)
        : run(std::move(ownRun)),
          choice(choice_of(parts)),
          groups(by_group(chosen(*run, choice))),
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
            output->addRow(kept(row, columns));
            return true;
        }
        if (group == groups.size()) {
            return false;
        }
        columns = columns_of(groups[group], choice);
        output->beginTable(kept(column_titles({groups[group]}), columns));
        steps.emplace(*run, groups[group++], range);
        return true;
    }

    Slot slot;
    std::unique_ptr<core::Run> run;
    Choice choice;
    std::vector<GroupSignals> groups;
    TimeRange range;
    std::ostringstream text;
    Terminal terminal{text, std::cerr, std::nullopt};
    std::unique_ptr<RowOutput> output = csv_rows(terminal);
    std::size_t group = 0;     ///< the next one
    std::vector<bool> columns; ///< of the group before
    std::optional<StepReader> steps;
};

} // namespace

Reply csv_download(std::unique_ptr<core::Run> run, const std::vector<SignalPart>& parts,
                   const TimeRange& range) {
    const std::string name = "logging2-" + run->info().id.substr(0, 8) + ".csv";
    const auto download = std::make_shared<CsvDownload>(std::move(run), parts, range);
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
