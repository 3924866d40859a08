#include <tools/commands/commands.hpp>

#include <tools/selection/number_checks.hpp>
#include <tools/view/Access.hpp>
#include <tools/view/Api.hpp>
#include <tools/view/RequestHandler.hpp>
#include <tools/view/RunCatalog.hpp>
#include <tools/view/Server.hpp>
#include <tools/view/StopSignals.hpp>
#include <tools/view/open_browser.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace logging2::tools {
namespace {

struct ViewOptions {
    std::string location;
    int port = 0;
    bool opensNoBrowser = false;
    std::optional<double> idleSeconds;
    std::vector<std::string> hosts;
};

int serve(const ViewOptions& options, const Terminal& terminal) {
    const view::StopSignals signals;
    view::RunCatalog catalog(options.location);
    view::Server server(options.port);
    const view::Access access(server.port(), options.hosts);
    view::LiveFeed feed(catalog);
    view::Api api(catalog, feed);
    view::RequestHandler handler(access, api);
    const std::string address =
        "http://127.0.0.1:" + std::to_string(server.port()) + access.firstTarget();
    terminal.out << address << std::endl;
    std::optional<view::OpenedBrowser> browser;
    if (!options.opensNoBrowser && view::has_desktop()) {
        browser.emplace(address);
    }
    std::optional<std::chrono::milliseconds> idleTime;
    if (options.idleSeconds) {
        idleTime = std::chrono::milliseconds(static_cast<long>(*options.idleSeconds * 1000));
    }
    server.run(handler, signals.descriptor(), idleTime);
    return 0;
}

} // namespace

void add_view(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "view", "Show runs in the browser, also while they grow; Ctrl-C ends it");
    const auto options = std::make_shared<ViewOptions>();
    command
        ->add_option("RUN_OR_DIR", options->location,
                     "The directory of a recording, or of recordings")
        ->required()
        ->type_name("");
    command->add_option("--port", options->port, "The port to serve on; without it, a free one")
        ->type_name("N")
        ->check(CLI::Range(1, 65535));
    command->add_flag("--no-browser", options->opensNoBrowser,
                      "Only print the address; without it, a desktop also opens a browser");
    command
        ->add_option("--idle-time", options->idleSeconds,
                     "End after so many seconds without a request; a page that is open but "
                     "idle does not count")
        ->type_name("S")
        ->check(between(0.1, 1e7));
    command
        ->add_option("--allow-host", options->hosts,
                     "Also answer if the browser calls the server by this name; may be repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return serve(*options, terminal); };
    });
}

} // namespace logging2::tools
