#include <tools/view/RequestHandler.hpp>

#include <tools/view/Page.hpp>
#include <tools/view/Query.hpp>
#include <tools/view/small_pages.hpp>

#include <logging2/backends/recording/recording.hpp>

#include <algorithm>

namespace logging2::tools::view {
namespace {

void add_security(Reply& reply) {
    reply.headers.emplace_back(
        "Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data: blob:; "
        "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    reply.headers.emplace_back("X-Content-Type-Options", "nosniff");
    reply.headers.emplace_back("Referrer-Policy", "no-referrer");
    reply.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
    reply.headers.emplace_back("Cache-Control", "no-store");
}

/// A path of this server needs no escapes.
void check_path(const std::string& path) {
    const bool isPlain = std::all_of(path.begin(), path.end(),
                                     [](char c) { return c > ' ' && c < '\x7f' && c != '%'; });
    if (path.empty() || path.front() != '/' || !isPlain) {
        throw HttpError(status::badRequest,
                        "The path has a character that no path of this server has.");
    }
}

} // namespace

Reply RequestHandler::answer(const Request& request) noexcept {
    Reply reply;
    const std::string target = access.pathAndQueryOf(request.target);
    try {
        reply = checkedAnswer(request);
    } catch (const HttpError& error) {
        reply = error_reply(error, target);
    } catch (const core::RecordingError& error) {
        reply = error_reply(HttpError(status::unprocessable,
                                      std::string("The run cannot be read: ") + error.what()),
                            target);
    } catch (const std::exception& error) {
        reply = error_reply(HttpError(status::internalError, error.what()), target);
    }
    add_security(reply);
    return reply;
}

Reply RequestHandler::refuse(const HttpError& error, const std::string& target) {
    Reply reply = error_reply(error, target);
    add_security(reply);
    return reply;
}

Reply RequestHandler::checkedAnswer(const Request& request) {
    if (std::optional<Reply> reply = access.check(request)) {
        return *reply;
    }
    const std::string target = access.pathAndQueryOf(request.target);
    const std::size_t end = std::min(target.find('?'), target.size());
    const std::string path = target.substr(0, end);
    check_path(path);
    const Query query(std::string_view(target).substr(std::min(end + 1, target.size())));
    if (path.rfind("/api/", 0) == 0) {
        return api.answer(path, query);
    }
    query.allow({});
    return page_file(path);
}

} // namespace logging2::tools::view
