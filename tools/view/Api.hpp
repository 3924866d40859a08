#pragma once

#include <tools/view/Query.hpp>
#include <tools/view/RunCatalog.hpp>
#include <tools/view/messages.hpp>

#include <string>

namespace logging2::tools::view {

/// Answers what the page's scripts ask for. Threads: all operations may be called by several at a
/// time.
class Api {
public:
    /// The catalog must outlive the object.
    explicit Api(RunCatalog& runCatalog) : catalog(runCatalog) {}

    /// The answer to a path below /api/. Throws HttpError if there is none.
    Reply answer(const std::string& path, const Query& query);

private:
    Reply answerAboutRun(const std::string& id, const std::string& question, const Query& query);
    Reply run(const std::string& id, const Query& query);
    Reply trace(const std::string& id, const Query& query);
    Reply values(const std::string& id, const Query& query);

    RunCatalog& catalog;
};

} // namespace logging2::tools::view
