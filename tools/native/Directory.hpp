#pragma once

#include <tools/Descriptor.hpp>

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

namespace logging2::tools {

/// A directory in which others may put anything at any time. No symbolic link is followed, and
/// nothing waits, for example at a FIFO. Functions throw std::system_error, whose message names the
/// file.
class Directory {
public:
    /// Opens a directory that the user has named.
    explicit Directory(const std::string& path);

    /// Opens a directory in another one.
    Directory(const Directory& parent, const std::string& name);

    /// The path of a file in this directory.
    std::string pathOf(const std::string& name) const;

    /// Calls the function with each name until it returns false.
    void visit(const std::function<bool(const std::string& name)>& function) const;

    /// Empty if there is nothing of that name.
    std::optional<struct stat> status(const std::string& name) const;

    /// Opens a file for reading.
    Descriptor open(const std::string& name) const;

    /// Removes the name of a file, not of a directory.
    void remove(const std::string& name) const;

private:
    std::string location;
    Descriptor descriptor;
};

} // namespace logging2::tools
