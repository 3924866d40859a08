#pragma once

#include <set>
#include <string>

namespace logging2::tools {

/// The path of a signal as a name in a file whose names are UTF-8: bytes that are not UTF-8 become
/// U+FFFD, and NUL becomes '_'.
std::string name_of_path(const std::string& path);

/// The path as the name of a single object in an HDF5 file: '/' becomes '_' as well, and a name is
/// neither empty nor ".".
std::string hdf5_name_of_path(const std::string& path);

/// "group-0".
std::string name_of_group(std::size_t group);

/// The file for one of several groups: "out-3.csv" for "out.csv".
std::string file_of_group(const std::string& file, std::size_t group);

/// Names, each of which is given out once.
class UniqueNames {
public:
    /// The name, followed by "_2", "_3" and so on if it is taken.
    std::string take(const std::string& wanted);

private:
    std::set<std::string> taken;
};

} // namespace logging2::tools
