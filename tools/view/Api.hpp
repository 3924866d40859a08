#pragma once

#include <tools/view/LiveFeed.hpp>
#include <tools/view/Query.hpp>
#include <tools/view/RunCatalog.hpp>
#include <tools/view/messages.hpp>

#include <string>

namespace logging2::tools::view {

/// Answers what the page's scripts ask for. Threads: all operations may be called by several at a
/// time.
class Api {
public:
    /// Both must outlive the object.
    Api(RunCatalog& runCatalog, LiveFeed& liveFeed) : catalog(runCatalog), feed(liveFeed) {}

    /// The answer to a path below /api/. Throws HttpError if there is none.
    Reply answer(const std::string& path, const Query& query);

private:
    Reply answerAboutRun(const std::string& id, const std::string& question, const Query& query);
    Reply run(const std::string& id, const Query& query);
    Reply trace(const std::string& id, const Query& query);
    Reply values(const std::string& id, const Query& query);

    Reply csv(const std::string& id, const Query& query);
    Reply diff(const Query& query);
    Reply events(const Query& query);

    RunCatalog& catalog;
    LiveFeed& feed;
};

} // namespace logging2::tools::view
