#include <tools/view/Page.hpp>

#include <tools/view/HttpError.hpp>
#include <tools/view/embedded_files.hpp>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

namespace logging2::tools::view {
namespace {

std::string content_type_of(std::string_view name) {
    static const std::map<std::string_view, std::string> types{
        {"html", "text/html; charset=utf-8"},
        {"css", "text/css; charset=utf-8"},
        {"js", "text/javascript; charset=utf-8"},
        {"svg", "image/svg+xml"},
        {"png", "image/png"},
        {"ico", "image/x-icon"}};
    const auto found = types.find(name.substr(name.rfind('.') + 1));
    return found == types.end() ? "application/octet-stream" : found->second;
}

Reply library_file(const std::string& name) {
    std::ifstream file(std::string(LOGGING2_DYGRAPHS) + '/' + name, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    if (!file) {
        throw HttpError(status::notFound,
                        "The plotting library dygraphs is not installed in " LOGGING2_DYGRAPHS ".");
    }
    return {200, content_type_of(name), content.str(), {}, {}};
}

} // namespace

Reply page_file(const std::string& path) {
    for (const char* const name : {"dygraph.min.js", "dygraph.css"}) {
        if (path == std::string("/lib/") + name) {
            return library_file(name);
        }
    }
    const std::vector<EmbeddedFile>& files = embedded_files();
    const auto found = std::find_if(files.begin(), files.end(), [&path](const EmbeddedFile& file) {
        return path == "/page/" + std::string(file.name) ||
               (path == "/" && file.name == "index.html");
    });
    if (found == files.end()) {
        throw HttpError(status::notFound, "There is no such page.");
    }
    return {200, content_type_of(found->name), std::string(found->content), {}, {}};
}

} // namespace logging2::tools::view
