#include <tools/commands/commands.hpp>

#include <tools/UsageError.hpp>
#include <tools/commands/describe.hpp>
#include <tools/commands/new_recording.hpp>
#include <tools/exporting/export_columns.hpp>
#include <tools/exporting/export_csv.hpp>
#include <tools/exporting/export_recording.hpp>
#include <tools/exporting/names.hpp>
#include <tools/selection/RunChoice.hpp>
#include <tools/selection/SignalChoice.hpp>
#include <tools/terminal/Interrupt.hpp>
#include <tools/terminal/text.hpp>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <system_error>

namespace logging2::tools {
namespace {

namespace fs = std::filesystem;

constexpr const char* formatFooter =
    "\nThe suffix of FILE tells the format: .csv, .h5 or .hdf5, .npz, "
    ".recording. If csv writes several\n"
    "groups without --merge, each gets a file of its own, such as "
    "FILE-0.csv. Without -o, csv goes to\n"
    "the standard output. --compress does not go with csv.";

struct ExportOptions {
    RunChoice run;
    SignalChoice signals;
    TimeRange range;
    std::string format;
    std::string output;
    core::RecordingOptions recording;
    bool merges = false;
    bool replaces = false;
    bool json = false;
};

/// A file or a directory that was written.
struct WrittenFile {
    std::string location;
    std::uint64_t stepCount;
};

const std::map<std::string, std::string>& formats_of_suffixes() {
    static const std::map<std::string, std::string> formats{{".csv", "csv"},
                                                            {".h5", "hdf5"},
                                                            {".hdf5", "hdf5"},
                                                            {".npz", "npz"},
                                                            {".recording", "recording"}};
    return formats;
}

std::string format_of(const ExportOptions& options) {
    const auto& formats = formats_of_suffixes();
    if (options.format.empty()) {
        const auto format = formats.find(fs::path(options.output).extension().string());
        if (format == formats.end()) {
            throw UsageError("--to csv, hdf5, npz or recording is needed, or a file with -o whose "
                             "suffix tells the format");
        }
        return format->second;
    }
    const bool isKnown = std::any_of(formats.begin(), formats.end(), [&options](const auto& each) {
        return each.second == options.format;
    });
    if (!isKnown) {
        throw UsageError("--to " + options.format +
                         ": the formats are csv, hdf5, npz and recording; --until sets the end of "
                         "the range");
    }
    return options.format;
}

/// Throws UsageError if options do not go together.
void check_options(const ExportOptions& options, const std::string& format) {
    const bool compresses = options.recording.compression != core::Compression::none;
    if (options.output.empty() && (format != "csv" || options.json)) {
        throw UsageError(options.json ? "--json needs a file: -o FILE"
                                      : "--to " + format + " needs a file: -o FILE");
    }
    if (format != "csv" && options.merges) {
        throw UsageError("--merge works only with --to csv");
    }
    if (format == "csv" && compresses) {
        throw UsageError("--compress does not work with --to csv");
    }
}

/// Several groups become several files, unless the format holds them together.
std::vector<Excerpt> parts_of(const Excerpt& excerpt, bool hasFilePerGroup) {
    if (!hasFilePerGroup) {
        return {excerpt};
    }
    std::vector<Excerpt> result;
    for (const GroupSignals& group : excerpt.groups) {
        result.push_back({excerpt.run, {group}, excerpt.range});
    }
    return result;
}

std::vector<std::string> targets_of(const ExportOptions& options,
                                    const std::vector<Excerpt>& parts) {
    if (parts.size() == 1) {
        return {options.output};
    }
    std::vector<std::string> result;
    result.reserve(parts.size());
    for (const Excerpt& part : parts) {
        result.push_back(file_of_group(options.output, part.groups.front().group));
    }
    return result;
}

void check_file(const std::ofstream& stream, const NewFile& file) {
    if (!stream) {
        throw UsageError(file.target.string() + ": cannot be written" +
                         (errno == 0 ? "" : ": " + std::generic_category().message(errno)));
    }
}

std::uint64_t write_csv(const Excerpt& excerpt, bool merges, const NewFile& file,
                        const Terminal& terminal, const core::RecordingProgress& progress) {
    errno = 0;
    std::ofstream stream(file.temporary);
    const Terminal output{stream, terminal.error, std::nullopt};
    const std::uint64_t count =
        export_csv(excerpt, merges, output, [&](std::uint64_t done, std::uint64_t total) {
            check_file(stream, file);
            progress(done, total);
        });
    stream.close();
    check_file(stream, file);
    return count;
}

void print_csv(const Excerpt& excerpt, bool merges, const Terminal& terminal) {
    ProgressBar bar = ProgressBar::ofRows(terminal);
    export_csv(excerpt, merges, terminal, [&](std::uint64_t done, std::uint64_t total) {
        if (!terminal.out) {
            throw UsageError("the output cannot be written");
        }
        bar.show(done, total);
    });
}

std::uint64_t write(const ExportOptions& options, const std::string& format, const Excerpt& excerpt,
                    const NewFile& file, const Terminal& terminal,
                    const core::RecordingProgress& progress) {
    const bool compresses = options.recording.compression != core::Compression::none;
    if (format == "csv") {
        return write_csv(excerpt, options.merges, file, terminal, progress);
    }
    if (format == "recording") {
        return export_recording(excerpt, recording_of(options.run), options.recording, file,
                                progress);
    }
    const std::unique_ptr<ColumnOutput> output =
        format == "npz" ? npz_output(file, excerpt.groups, compresses)
                        : hdf5_output(file, excerpt.run.info(), compresses);
    return export_columns(excerpt, *output, progress);
}

std::vector<WrittenFile> write_files(const ExportOptions& options, const std::string& format,
                                     const Excerpt& excerpt, const Terminal& terminal) {
    const std::vector<Excerpt> parts =
        parts_of(excerpt, format == "csv" && !options.merges && excerpt.groups.size() > 1);
    const std::vector<std::string> targets = targets_of(options, parts);
    const InterruptGuard guard; // before anything is made
    NewFiles files(targets, options.replaces);
    ProgressBar bar(terminal);
    std::vector<WrittenFile> result;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const NewFile& file = files.files()[part];
        const std::uint64_t stepCount =
            write(options, format, parts[part], file, terminal, progress_of(bar));
        result.push_back({targets[part], stepCount});
    }
    InterruptGuard::check();
    files.publish();
    return result;
}

std::uint64_t byte_count(const std::string& location) {
    return fs::is_directory(location) ? file_byte_count(location) : fs::file_size(location);
}

void print_files(const std::vector<WrittenFile>& files, const Terminal& terminal) {
    for (const WrittenFile& file : files) {
        terminal.printLine(printable(file.location) + ": " +
                           byte_count_text(byte_count(file.location)) + ", " +
                           count_text(file.stepCount) + " steps");
    }
}

void print_as_json(const std::vector<WrittenFile>& files, const std::string& format,
                   const Terminal& terminal) {
    Json list = Json::array();
    std::uint64_t stepCount = 0;
    std::uint64_t byteCount = 0;
    for (const WrittenFile& file : files) {
        const std::uint64_t bytes = byte_count(file.location);
        list.push_back({{"location", file.location}, {"steps", file.stepCount}, {"bytes", bytes}});
        stepCount += file.stepCount;
        byteCount += bytes;
    }
    print_json(terminal, {{"schema", jsonSchema},
                          {"format", format},
                          {"files", list},
                          {"steps", stepCount},
                          {"bytes", byteCount}});
}

int export_run(const ExportOptions& options, const Terminal& terminal) {
    const std::string format = format_of(options);
    check_options(options, format);
    check_range(options.range, options.run.location);
    const auto run = open_run(options.run);
    const Excerpt excerpt{
        *run, by_group(chosen_signals(*run, options.signals, options.run.location)), options.range};
    if (options.output.empty()) {
        print_csv(excerpt, options.merges, terminal);
        return 0;
    }
    // A file that gets too large is an error like a full disk.
    std::signal(SIGXFSZ, SIG_IGN);
    const std::vector<WrittenFile> files = write_files(options, format, excerpt, terminal);
    if (options.json) {
        print_as_json(files, format, terminal);
    } else {
        print_files(files, terminal);
    }
    return 0;
}

void add_output_options(CLI::App& command, ExportOptions& options) {
    command
        .add_option("--to", options.format,
                    "csv, hdf5, npz or recording; needed if the suffix of FILE does not tell it")
        ->type_name("FORMAT");
    command
        .add_option("-o,--output", options.output,
                    "The new file, or the directory of the new recording, see below")
        ->type_name("FILE");
    command.add_flag("--merge", options.merges,
                     "csv: the rows of all groups in one table, by time");
    add_compression_option(command, options.recording);
    command.add_flag("--force", options.replaces, "Replace files that exist");
}

} // namespace

void add_export(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "export", "Write signals to a file for other programs, or cut out a new recording");
    const auto options = std::make_shared<ExportOptions>();
    add_run_options(*command, options->run);
    add_signal_options(*command, options->signals);
    add_time_options(*command, options->range, "--until");
    add_output_options(*command, *options);
    command->add_flag("--json", options->json, "Print what was written as JSON");
    command->footer(formatFooter);
    command->callback([options, &action] {
        action = [options](const Terminal& terminal) { return export_run(*options, terminal); };
    });
}

} // namespace logging2::tools
