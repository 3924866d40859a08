#include <examples/simulate/command_line.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/logging/recording.hpp>

#include <CLI/CLI.hpp>

#include <charconv>
#include <cstdint>
#include <limits>
#include <sstream>
#include <type_traits>

namespace simulate {
namespace {

constexpr const char* description =
    "Simulates a model, logs every accepted solver step with the library, and reads the log back.\n"
    "Writes one CSV file and one plot (SVG and PNG) for each logging group, and prints a table of\n"
    "the logged data.\n";

constexpr const char* footer =
    "Examples:\n"
    "  simulate --list\n"
    "  simulate bouncing-ball --out pictures\n"
    "  simulate lorenz --stop-time 5000 --no-plots\n"
    "  simulate dc-motor --backend memory-restricted --point-limit 200\n"
    "  simulate lorenz --backend columnar\n"
    "  simulate dc-motor --backend recording --directory results\n"
    "\n"
    "Files are named MODEL_GROUP.csv, .svg and .png. They appear together when the run has\n"
    "succeeded, and replace those of a former run. A run that fails writes none of them and exits\n"
    "with status 2. A recording that it has begun stays.";

std::string shown(double value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

/// Reads the whole text as a number of the type; the error says what was wrong.
template <class Number>
std::string read_number(const std::string& text, Number low, Number high) {
    Number value{};
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (stop != end || error == std::errc::invalid_argument) {
        return '"' + text + "\" is not a " +
               (std::is_integral_v<Number> ? "whole number" : "number") +
               (std::is_unsigned_v<Number> ? " of at least 1" : "");
    }
    if (error == std::errc::result_out_of_range || !(low <= value && value <= high)) {
        return text + " is out of range (" + shown(static_cast<double>(low)) + " to " +
               shown(static_cast<double>(high)) + ')';
    }
    return {};
}

template <class Number>
CLI::Validator within(Number low, Number high) {
    return CLI::Validator([low, high](std::string& text) { return read_number(text, low, high); },
                          "");
}

void add_options(CLI::App& app, Options& options) {
    app.add_option("MODEL", options.model, "The model to simulate (see --list)")->type_name("");
    CLI::Option* const backend = app.add_option("--backend", options.backend,
                                                "Log to the back-end of this name (see --list)");
    backend->type_name("NAME")->capture_default_str();
    app.add_option("--backend-library", options.backendLibraries,
                   "Load further back-ends from this shared library; may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false);
    CLI::Option* const useDefault =
        app.add_flag("--default", options.useDefault,
                     "Log to the library's default back-end, without a look-up by name");
    useDefault->excludes(backend);
    app.add_flag("--checked", options.checked,
                 "Check every call of the back-end, and fail if one is a mistake")
        ->excludes(useDefault);
    app.add_option("--stop-time", options.stopTime,
                   "Simulate until this time, 1e-6 to 1e6 in the model's time unit (see --list)")
        ->type_name("S")
        ->check(within(1e-6, 1e6));
    app.add_option("--tolerance", options.tolerance,
                   "Absolute and relative error bound of a solver step, 1e-13 to 0.01")
        ->type_name("R")
        ->capture_default_str()
        ->check(within(1e-13, 1e-2));
    app.add_option("--point-limit", options.pointLimit,
                   "How many steps per group a back-end with a limit keeps; at least 1")
        ->type_name("N")
        ->capture_default_str()
        ->check(within(std::uint64_t{1}, std::numeric_limits<std::uint64_t>::max()));
    app.add_option(
           "--directory", options.recordingDirectory,
           "Make recordings in this directory, with --backend recording; created if missing")
        ->type_name("DIR")
        ->capture_default_str();
    app.add_option("--out", options.outputDirectory,
                   "Write the files to this directory; created if missing")
        ->type_name("DIR")
        ->capture_default_str();
    app.add_flag_callback(
        "--no-plots", [&options] { options.plots = false; },
        "Write only CSV files, which does not need gnuplot");
    app.add_flag("--list", options.list, "List models and back-ends");
}

/// CLI11's messages may have several lines; the first says what is wrong.
std::string first_line(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

void check_model_given(const Options& options) {
    if (options.model.empty() && !options.list) {
        throw HostError("no model given; --list prints the models, --help explains the options");
    }
}

void check_directory_used(const CLI::App& app, const Options& options) {
    if (app.count("--directory") == 0) {
        return;
    }
    if (!can_record()) {
        throw HostError("--directory: this build cannot record");
    }
    if (options.backend != "recording") {
        throw HostError("--directory needs --backend recording");
    }
    if (options.recordingDirectory.empty()) {
        throw HostError("--directory needs the name of a directory");
    }
}

} // namespace

std::optional<Options> parse_command_line(int argc, const char* const* argv, std::ostream& out) {
    Options options;
    CLI::App app(description, "simulate");
    app.get_formatter()->column_width(34);
    app.footer(footer);
    add_options(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw HostError(first_line(error.what()) + " (--help explains the options)");
    }
    check_model_given(options);
    check_directory_used(app, options);
    return options;
}

} // namespace simulate
