#include <tools/view/Api.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/csv_download.hpp>
#include <tools/view/describe_run.hpp>
#include <tools/view/difference.hpp>
#include <tools/view/event_stream.hpp>
#include <tools/view/trace.hpp>
#include <tools/view/values.hpp>

#include <limits>

namespace logging2::tools::view {
namespace {

constexpr std::size_t greatestElementCount = 64;
constexpr std::size_t greatestDownloadSignalCount = 250;
constexpr std::size_t greatestRunCount = 16;

Reply json_reply(const Json& value) {
    return {200,
            "application/json",
            value.dump(-1, ' ', false, Json::error_handler_t::replace),
            {},
            {}};
}

void check_order(const TimeRange& range) {
    if (range.from && range.to && *range.from > *range.to) {
        throw HttpError(status::badRequest, R"(The parameter "from" is greater than "to".)");
    }
}

TraceRange trace_range(const Query& query) {
    const TraceRange range{query.number("from"), query.number("to"),
                           query.count("pixels", 1, greatestTracePixelCount)};
    check_order({range.from, range.to});
    return range;
}

std::size_t element_of(const Query& query) {
    constexpr std::size_t greatest = std::numeric_limits<std::size_t>::max();
    return query.has("element") ? query.count("element", 0, greatest) : 0;
}

void check_pairs(std::size_t signalCount, std::size_t elementCount) {
    if (signalCount != elementCount) {
        throw HttpError(status::badRequest,
                        R"(The parameters "signal" and "element" must be given equally often.)");
    }
}

/// Without elements, all of each signal.
std::vector<SignalPart> parts_of(const Query& query) {
    std::vector<SignalPart> result;
    for (const std::string& signal : query.texts("signal", greatestDownloadSignalCount)) {
        result.push_back({signal, std::nullopt});
    }
    if (query.has("element")) {
        const auto elements = query.countsOrAll("element", greatestDownloadSignalCount);
        check_pairs(result.size(), elements.size());
        for (std::size_t k = 0; k < elements.size(); ++k) {
            result[k].element = elements[k];
        }
    }
    return result;
}

/// Each signal has an element of its own.
std::vector<ElementName> elements_of(const Query& query) {
    const std::vector<std::string> signals = query.texts("signal", greatestElementCount);
    const std::vector<std::size_t> elements = query.counts("element", greatestElementCount);
    check_pairs(signals.size(), elements.size());
    std::vector<ElementName> result;
    for (std::size_t k = 0; k < signals.size(); ++k) {
        result.push_back({signals[k], elements[k]});
    }
    return result;
}

} // namespace

Reply Api::answer(const std::string& path, const Query& query) {
    const std::string start = "/api/runs";
    if (path == start) {
        query.allow({});
        return json_reply(catalog.list());
    }
    if (path == "/api/diff") {
        return diff(query);
    }
    if (path == "/api/events") {
        return events(query);
    }
    if (path.rfind(start + '/', 0) == 0) {
        const std::string rest = path.substr(start.size() + 1);
        const std::size_t end = std::min(rest.find('/'), rest.size());
        return answerAboutRun(rest.substr(0, end), rest.substr(end), query);
    }
    throw HttpError(status::notFound, "There is no such page.");
}

Reply Api::answerAboutRun(const std::string& id, const std::string& question, const Query& query) {
    if (question.empty()) {
        return run(id, query);
    }
    if (question == "/trace") {
        return trace(id, query);
    }
    if (question == "/values") {
        return values(id, query);
    }
    if (question == "/csv") {
        return csv(id, query);
    }
    throw HttpError(status::notFound, "There is no such page.");
}

Reply Api::run(const std::string& id, const Query& query) {
    query.allow({});
    return json_reply(run_description(id, *catalog.run(id), catalog.locationOf(id)));
}

Reply Api::trace(const std::string& id, const Query& query) {
    query.allow({"signal", "element", "from", "to", "pixels"});
    const std::string signal = query.text("signal");
    const TraceRange range = trace_range(query);
    const std::size_t element = element_of(query);
    return {200,
            "application/octet-stream",
            trace_bytes(trace_of(*catalog.run(id), signal, element, range)),
            {},
            {}};
}

Reply Api::values(const std::string& id, const Query& query) {
    query.allow({"time", "signal", "element"});
    const std::vector<ElementName> elements = elements_of(query);
    const double time = query.number("time");
    return json_reply(values_at(*catalog.run(id), elements, time));
}

Reply Api::csv(const std::string& id, const Query& query) {
    query.allow({"signal", "element", "from", "to"});
    const std::vector<SignalPart> parts = parts_of(query);
    const TimeRange range{query.optionalNumber("from"), query.optionalNumber("to")};
    check_order(range);
    return csv_download(catalog.ownRun(id), parts, range);
}

Reply Api::diff(const Query& query) {
    query.allow({"a", "b", "signal", "element", "from", "to", "pixels", "shift", "absolute",
                 "relative", "time-tolerance"});
    const DifferenceQuestion question{query.text("signal"),
                                      element_of(query),
                                      trace_range(query),
                                      query.optionalNumber("shift").value_or(0),
                                      {query.tolerance("absolute", 0),
                                       query.tolerance("relative", Tolerance().relative),
                                       query.tolerance("time-tolerance", 0)}};
    return json_reply(difference_between(*catalog.ownRun(query.text("a")),
                                         *catalog.ownRun(query.text("b")), question));
}

Reply Api::events(const Query& query) {
    query.allow({"run"});
    return event_stream(feed.subscribe(query.has("run") ? query.texts("run", greatestRunCount)
                                                        : std::vector<std::string>()));
}

} // namespace logging2::tools::view
