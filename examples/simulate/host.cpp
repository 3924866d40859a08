#include <examples/simulate/host.hpp>

#include <examples/simulate/HostError.hpp>
#include <examples/simulate/command_line.hpp>
#include <examples/simulate/logging/LogSession.hpp>
#include <examples/simulate/logging/recording.hpp>
#include <examples/simulate/models/catalogue.hpp>
#include <examples/simulate/report/Gnuplot.hpp>
#include <examples/simulate/report/OutputDirectory.hpp>
#include <examples/simulate/report/ProgressBar.hpp>
#include <examples/simulate/report/csv.hpp>
#include <examples/simulate/report/plot_script.hpp>
#include <examples/simulate/report/table.hpp>
#include <logging2/backends/checked/checked.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <iomanip>
#include <map>
#include <new>

namespace simulate {
namespace {

/// What a run leaves for the reports.
struct Outcome {
    std::vector<GroupResult> results;
    RunSummary summary;
    std::vector<Event> events;
    /// The directory of the recording; empty if the back-end makes none.
    std::string recording;
};

std::string file_stem(const Model& model, const GroupInfo& group) {
    return model.name() + '_' + group.name;
}

Backend chosen_backend(const Options& options) {
    if (options.useDefault) {
        return Backend();
    }
    if (!options.checked) {
        return Backend(options.backend);
    }
    logging2::core::register_checked_backend(foundation::get_global_bundle_context(),
                                             options.backend);
    return Backend("checked:" + options.backend);
}

RunSettings settings_of(const Model& model, const Options& options) {
    return {options.stopTime.value_or(model.defaultStopTime()), options.tolerance};
}

/// The fewest digits that give the same number again.
std::string shortest(double value) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    return {digits.data(), end.ptr};
}

std::map<std::string, std::string> properties_of(const Model& model, const RunSettings& settings) {
    return {{"model", model.name()},
            {"stop time", shortest(settings.stopTime)},
            {"tolerance", shortest(settings.tolerance)}};
}

logging2::core::StreamingAttributes attributes_of(const Model& model, const Options& options) {
    logging2::core::StreamingAttributes attributes;
    attributes.pointLimit = options.pointLimit;
    attributes.name = logging2::core::BasicTableString<char>(std::string_view(model.name()));
    return attributes;
}

/// Solves and logs; the time that it takes is what the summary tells.
Outcome record_run(const Model& model, const RunSettings& settings, LogSession& session,
                   ProgressBar& bar) {
    const RollbackWarnings warnings;
    Recorder recorder(session.writer(), warnings, [&bar](double time) { bar.show(time); });
    const auto begin = std::chrono::steady_clock::now();
    model.run(recorder, settings);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    return {{}, {recorder.counts(), elapsed.count()}, recorder.events(), {}};
}

PlotContext plot_context(const Model& model, const GroupResult& result, const Outcome& outcome,
                         const Backend& backend) {
    const StepCounts& counts = outcome.summary.counts;
    std::string subtitle = "group \"" + result.info.name + "\", back-end \"" + backend.label() +
                           "\": samples " + std::to_string(result.times.size());
    if (counts.takenBack > 0) {
        subtitle += ", steps taken back " + std::to_string(counts.takenBack);
    }
    if (counts.declined > 0) {
        subtitle += ", rejected steps kept " + std::to_string(counts.declined);
    }
    return {model.title(), subtitle, model.timeUnit(), outcome.events};
}

void write_plot(const GroupResult& result, const PlotContext& context, const std::string& stem,
                const Gnuplot& gnuplot, const OutputDirectory& output) {
    const Plot plot = lay_out_plot(result, context);
    gnuplot.draw(plot_script(plot, stem), output.stagingPath(""), {stem + ".svg", stem + ".png"});
}

void write_files(const Model& model, const Outcome& outcome, const Backend& backend,
                 const std::optional<Gnuplot>& gnuplot, const OutputDirectory& output) {
    for (const GroupResult& result : outcome.results) {
        const std::string stem = file_stem(model, result.info);
        write_csv(result, model.timeUnit(), output.stagingPath(stem + ".csv"));
        if (gnuplot) {
            write_plot(result, plot_context(model, result, outcome, backend), stem, *gnuplot,
                       output);
        }
    }
}

void print_report(std::ostream& out, const Model& model, const Outcome& outcome,
                  const std::vector<std::filesystem::path>& files) {
    print_table(out, outcome.results, model.timeUnit());
    out << '\n';
    print_summary(out, outcome.summary);
    out << '\n';
    for (const std::filesystem::path& file : files) {
        out << "wrote " << file.string() << '\n';
    }
    if (!outcome.recording.empty()) {
        out << "recorded in " << outcome.recording << '\n';
    }
}

/// Everything that can be refused is refused before the first step is solved.
void simulate_model(const Options& options, std::ostream& out, std::ostream& err, bool terminal) {
    const Model& model = find_model(options.model);
    const RunSettings settings = settings_of(model, options);
    offer_recording(options.recordingDirectory, properties_of(model, settings));
    const Backend backend = chosen_backend(options);
    const std::optional<Gnuplot> gnuplot = options.plots ? std::optional(Gnuplot()) : std::nullopt;
    OutputDirectory output(options.outputDirectory);
    LogSession session(backend, attributes_of(model, options), model.groups());
    Outcome outcome = [&] {
        ProgressBar bar(err, terminal, settings.stopTime);
        return record_run(model, settings, session, bar);
    }();
    outcome.results = session.finish();
    outcome.recording = session.recording();
    write_files(model, outcome, backend, gnuplot, output);
    print_report(out, model, outcome, output.commit());
}

void print_list(std::ostream& out) {
    out << "Models (default stop time):\n";
    for (const auto& model : models()) {
        const std::string unit = model->timeUnit() == "1" ? "" : ' ' + model->timeUnit();
        out << "  " << std::left << std::setw(19) << model->name() << model->description() << " ("
            << model->defaultStopTime() << unit << ")\n";
    }
    out << "Back-ends:\n";
    for (const logging2::core::BackendInfo& backend :
         logging2::core::registered_backends(foundation::get_global_bundle_context())) {
        out << "  " << std::left << std::setw(19) << backend.name << backend.description << '\n';
    }
}

/// Names from the command line may hold anything.
std::string on_one_line(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return text;
}

void run_options(const Options& options, std::ostream& out, std::ostream& err, bool terminal) {
    for (const std::string& library : options.backendLibraries) {
        logging2::core::load_backends(library, foundation::get_global_bundle_context());
    }
    if (options.list) {
        offer_recording(options.recordingDirectory, {});
        print_list(out);
    } else {
        simulate_model(options, out, err, terminal);
    }
    if (!out.flush()) {
        throw HostError("cannot write to standard output");
    }
}

} // namespace

int run_program(int argc, const char* const* argv, std::ostream& out, std::ostream& err,
                bool terminal) {
    try {
        if (const auto options = parse_command_line(argc, argv, out)) {
            run_options(*options, out, err, terminal);
        }
        return 0;
    } catch (const std::bad_alloc&) {
        err << "simulate: not enough memory\n";
    } catch (const std::exception& error) {
        err << "simulate: " << on_one_line(error.what()) << '\n';
    }
    return 2;
}

} // namespace simulate
