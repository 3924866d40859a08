#include <tools/exporting/export_recording.hpp>

#include <tools/UsageError.hpp>
#include <tools/commands/describe.hpp>
#include <tools/terminal/text.hpp>

#include <filesystem>

namespace logging2::tools {
namespace {

constexpr std::size_t stepsPerReport = 1024;

using Setup = foundation::SequenceMap<core::Group, core::LoggedPathsSetupData>;

std::map<std::string, std::string> properties_of(const Excerpt& excerpt,
                                                 const std::string& location) {
    const core::RunInfo info = excerpt.run.info();
    std::map<std::string, std::string> result = info.properties;
    result["excerpt.id"] = info.id;
    result["excerpt.location"] = std::filesystem::absolute(location).lexically_normal().string();
    result["excerpt.start"] = utc_text(info.start);
    result["excerpt.state"] = name_of(info.state);
    if (excerpt.range.from) {
        result["excerpt.from"] = number_text(*excerpt.range.from);
    }
    if (excerpt.range.to) {
        result["excerpt.until"] = number_text(*excerpt.range.to);
    }
    return result;
}

/// One signal for each channel, in the order of the channels.
GroupSignals channels_of(const GroupSignals& group) {
    GroupSignals result{group.group, {}};
    for (const core::SignalInfo& signal : group.signals) {
        if (result.signals.empty() || result.signals.back().channel != signal.channel) {
            result.signals.push_back(signal);
        }
    }
    return result;
}

core::LoggedPathsSetupData setup_of(const GroupSignals& group) {
    std::vector<core::LoggedPath> paths;
    std::vector<core::LoggedChannel> channels;
    for (const core::SignalInfo& signal : group.signals) {
        paths.push_back({signal.path, core::CoreDataId(signal.channel)});
    }
    for (const core::SignalInfo& signal : channels_of(group).signals) {
        channels.push_back({core::CoreDataId(signal.channel), signal.width});
    }
    return {paths, channels};
}

Setup setup_of(const Excerpt& excerpt) {
    Setup result;
    for (const GroupSignals& group : excerpt.groups) {
        result.insert(core::Group(group.group), setup_of(group));
    }
    return result;
}

std::uint64_t write_steps(const Excerpt& excerpt, core::RecordingStreamWriter& writer,
                          const core::RecordingProgress& progress) {
    const std::uint64_t totalCount = greatest_step_count(excerpt);
    std::uint64_t count = 0;
    std::vector<double> row;
    for (const GroupSignals& group : excerpt.groups) {
        StepReader steps(excerpt.run, channels_of(group), excerpt.range);
        while (steps.next()) {
            row.clear();
            for (std::size_t signal = 0; signal < steps.signals().size(); ++signal) {
                const core::DoubleView values = steps.values(signal);
                row.insert(row.end(), values.begin(), values.end());
            }
            writer.write(group.group, steps.time(), row.data(), row.size());
            if (++count % stepsPerReport == 0) {
                progress(count, totalCount);
            }
        }
    }
    writer.flush();
    progress(count, count);
    return count;
}

/// The message, with the name that the recording was to get instead of the temporary one.
std::string renamed(std::string message, const NewFile& file) {
    const std::string directory = file.temporary.parent_path().string() + '/';
    const std::size_t start = message.find(directory);
    if (start == std::string::npos) {
        return message;
    }
    const std::size_t end = message.find_first_of("/:", start + directory.size());
    return message.replace(start, end - start, file.target.string());
}

} // namespace

std::uint64_t export_recording(const Excerpt& excerpt, const std::string& location,
                               core::RecordingOptions options, const NewFile& file,
                               const core::RecordingProgress& progress) {
    options.directory = file.temporary.parent_path().string();
    options.properties = properties_of(excerpt, location);
    core::StreamingAttributes attributes;
    attributes.name = foundation::BasicTableString<char>(excerpt.run.info().name);
    std::string made;
    std::uint64_t stepCount = 0;
    try {
        core::RecordingStreamWriter writer(attributes, setup_of(excerpt), options);
        made = writer.location();
        stepCount = write_steps(excerpt, writer, progress);
    } catch (const core::RecordingError& error) {
        throw UsageError(renamed(error.what(), file));
    }
    std::filesystem::rename(made, file.temporary);
    return stepCount;
}

} // namespace logging2::tools
