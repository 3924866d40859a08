#pragma once

#include <logging2/host/filesystem/basic_path.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/support/files.hpp>

#include <sys/stat.h>

#include <string>

namespace logging2::core::test {

using Path = fl::filesystem::basic_path<char, char16_t>;

inline Path inside(const SystemTempDirectory& directory, const std::u16string& name) {
    return fl::filesystem::detail::concatenate_pathname(
        Path(foundation::utf8_string_to_ustring(directory.path().string())), Path(name));
}

/// The permissions of the file or directory; of a link itself rather than of its target.
inline mode_t permissionsOf(const std::filesystem::path& file) {
    struct stat status {};
    EXPECT_EQ(lstat(file.c_str(), &status), 0) << file;
    return status.st_mode & 0777U;
}

} // namespace logging2::core::test
