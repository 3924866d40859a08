#include <tools/native/find_left_overs.hpp>

#include <tools/native/Directory.hpp>
#include <tools/native/file_names.hpp>

#include <algorithm>
#include <system_error>
#include <utility>

namespace logging2::tools {
namespace {

/// The names in a directory that matter.
struct Names {
    std::vector<FileName> files;
    std::vector<std::string> directories;
};

class Finder {
public:
    explicit Finder(std::size_t fileLimit) : filesLeft(fileLimit) {}

    FoundLeftOvers find(const std::string& path) {
        const Directory directory(path);
        const Names names = namesIn(directory);
        addLeftOvers(path, directory, names.files);
        for (const std::string& name : names.directories) {
            findInside(directory, name);
        }
        return std::move(found);
    }

private:
    Names namesIn(const Directory& directory) {
        Names names;
        directory.visit([&](const std::string& name) {
            std::optional<FileName> file = parse_file_name(name);
            const bool isDirectory = names_writer_directory(name);
            if ((file || isDirectory) && filesLeft == 0) {
                found.isCut = true;
                return false;
            }
            if (file) {
                names.files.push_back(std::move(*file));
                --filesLeft;
            } else if (isDirectory) {
                names.directories.push_back(name);
                --filesLeft;
            }
            return true;
        });
        bringInOrder(names);
        return names;
    }

    /// Values come before times. The writer appends to them in the other order, so the times of a
    /// run that goes on are complete for the values that were found.
    static void bringInOrder(Names& names) {
        std::sort(names.directories.begin(), names.directories.end());
        std::partition(names.files.begin(), names.files.end(),
                       [](const FileName& name) { return name.channel.has_value(); });
    }

    void findInside(const Directory& parent, const std::string& name) {
        try {
            const Directory directory(parent, name);
            addLeftOvers(parent.pathOf(name), directory, namesIn(directory).files);
        } catch (const std::system_error& error) {
            // What is no directory, or no longer there, is of no writer.
            const std::error_code code = error.code();
            if (code != std::errc::not_a_directory &&
                code != std::errc::no_such_file_or_directory &&
                code != std::errc::too_many_symbolic_link_levels) {
                found.unreadable.push_back(parent.pathOf(name));
            }
        }
    }

    void addLeftOvers(const std::string& path, const Directory& directory,
                      const std::vector<FileName>& names) {
        std::map<std::pair<std::string, uid_t>, LeftOver> leftOvers;
        for (const FileName& name : names) {
            const auto status = directory.status(text_of(name));
            if (!status || !is_stream_file(*status)) {
                continue;
            }
            LeftOver& leftOver = leftOvers[{name.stem, status->st_uid}];
            leftOver.directory = path;
            leftOver.stem = name.stem;
            leftOver.owner = status->st_uid;
            GroupFiles& group = leftOver.groups[name.group];
            if (name.channel) {
                group.channels.emplace(*name.channel, stream_file(*status));
            } else {
                group.times = stream_file(*status);
            }
        }
        for (auto& [key, leftOver] : leftOvers) {
            found.leftOvers.push_back(std::move(leftOver));
        }
    }

    FoundLeftOvers found;
    std::size_t filesLeft;
};

} // namespace

FoundLeftOvers find_left_overs(const std::string& directory, std::size_t fileLimit) {
    return Finder(fileLimit).find(directory);
}

} // namespace logging2::tools
