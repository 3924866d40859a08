#include <tools/commands/native.hpp>

#include <tools/native/file_names.hpp>
#include <tools/terminal/text.hpp>

namespace logging2::tools {
namespace {

constexpr const char* nativeFooter =
    "\nA left-over is what a writer has put into the temporary directory and nobody has read: "
    "files\n"
    "such as trakontmp.USER/NAME_times_0 and NAME_values_0_1. NAME is an identifier of 36\n"
    "characters; its first eight are enough. DIR is a directory with such files, or with the\n"
    "directories trakontmp.USER of several users. It is the writer's directory of the current "
    "user\n"
    "by default. Links are not followed.\n"
    "\n"
    "A writer has its files open only while it appends to them. So a run that goes on is usually\n"
    "not recognised, and of other users' processes nothing is known: look at the age.";

} // namespace

void add_native(CLI::App& app, Action& action) {
    CLI::App* const command = app.add_subcommand(
        "native", "List, rescue or remove the files that crashed hosts have left of \"native\"");
    command->require_subcommand(1);
    command->footer(nativeFooter);
    add_native_list(*command, action);
    add_native_rescue(*command, action);
    add_native_clean(*command, action);
}

FoundLeftOvers left_overs_in(const std::string& directory, const Terminal& terminal) {
    FoundLeftOvers found = find_left_overs(directory.empty() ? writer_directory() : directory);
    if (found.isCut) {
        terminal.error << "logging2: there are more than " << count_text(mostFiles)
                       << " files, so not all of them are shown\n";
    }
    return found;
}

bool has_name(const LeftOver& leftOver, const std::string& name) {
    return leftOver.stem.compare(0, name.size(), name) == 0;
}

} // namespace logging2::tools
