#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace logging2::tools {

/// What the name of a file of the writer "native" tells.
struct FileName {
    /// The identifier with which all names of one writer begin.
    std::string stem;
    std::size_t group = 0;
    /// Empty for the file of the group's times.
    std::optional<std::size_t> channel;
};

/// Empty if the writer would not give a file this name, to the letter.
std::optional<FileName> parse_file_name(std::string_view name);

/// The reverse of parse_file_name().
std::string text_of(const FileName& name);

/// Whether a stem may begin with the text, which has at least its first eight characters.
bool begins_stem(std::string_view text);

/// Whether it is the name of a directory for the writers of a user.
bool names_writer_directory(std::string_view name);

/// The directory where this user's writers put their files. The library creates it if it is
/// missing. Throws what core::StreamLocationCreator throws.
std::string writer_directory();

} // namespace logging2::tools
