#include <tools/view/small_pages.hpp>

#include <tools/terminal/json.hpp>
#include <tools/view/HttpError.hpp>

namespace logging2::tools::view {
namespace {

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '&' || c == '<' || c == '>') {
            result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
        } else {
            result += c;
        }
    }
    return result;
}

/// The empty icon keeps browsers from asking for one.
std::string page(const std::string& head, const std::string& body) {
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
           "<link rel=\"icon\" href=\"data:,\">" +
           head + "<title>logging2 view</title></head>\n<body><p>" + body + "</p></body></html>\n";
}

} // namespace

std::string entrance_page(const std::string& path) {
    return page(R"(<meta http-equiv="refresh" content="0;url=)" + path + "\">",
                "<a href=\"" + path + "\">Go on to the runs</a>");
}

Reply error_reply(const HttpError& error, const std::string& target) {
    Reply reply;
    reply.status = error.status();
    if (reply.status == status::methodNotAllowed) {
        reply.headers.emplace_back("Allow", "GET");
    }
    if (target.rfind("/api/", 0) == 0) {
        reply.contentType = "application/json";
        reply.body = Json{{"schema", jsonSchema}, {"error", error.what()}}.dump(
            -1, ' ', false, Json::error_handler_t::replace);
    } else {
        reply.contentType = "text/html; charset=utf-8";
        reply.body = page("", escaped(error.what()) + " Reload the page to try again.");
    }
    return reply;
}

} // namespace logging2::tools::view
