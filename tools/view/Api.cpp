#include <tools/view/Api.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/describe_run.hpp>
#include <tools/view/trace.hpp>
#include <tools/view/values.hpp>

#include <limits>

namespace logging2::tools::view {
namespace {

constexpr int badRequest = 400;
constexpr int notFound = 404;
constexpr std::size_t greatestPixelCount = 4096;
constexpr std::size_t greatestSignalCount = 64;

Reply json_reply(const Json& value) {
    return {200,
            "application/json",
            value.dump(-1, ' ', false, Json::error_handler_t::replace),
            {},
            {}};
}

TraceRange trace_range(const Query& query) {
    const TraceRange range{query.number("from"), query.number("to"),
                           query.count("pixels", 1, greatestPixelCount)};
    if (range.from > range.to) {
        throw HttpError(badRequest, "The parameter \"from\" is greater than \"to\".");
    }
    return range;
}

std::size_t element_of(const Query& query) {
    constexpr std::size_t greatest = std::numeric_limits<std::size_t>::max();
    return query.has("element") ? query.count("element", 0, greatest) : 0;
}

} // namespace

Reply Api::answer(const std::string& path, const Query& query) {
    const std::string start = "/api/runs";
    if (path == start) {
        query.allow({});
        return json_reply(catalog.list());
    }
    if (path.rfind(start + '/', 0) == 0) {
        const std::string rest = path.substr(start.size() + 1);
        const std::size_t end = std::min(rest.find('/'), rest.size());
        return answerAboutRun(rest.substr(0, end), rest.substr(end), query);
    }
    throw HttpError(notFound, "There is no such page.");
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
    throw HttpError(notFound, "There is no such page.");
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
    query.allow({"time", "signal"});
    const std::vector<std::string> signals = query.texts("signal", greatestSignalCount);
    const double time = query.number("time");
    return json_reply(values_at(*catalog.run(id), signals, time));
}

} // namespace logging2::tools::view
