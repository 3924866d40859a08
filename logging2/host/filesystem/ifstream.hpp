#pragma once

#include <logging2/host/filesystem/basic_path.hpp>

#include <fstream>

namespace fl::filesystem {

/// A standard input stream on the file of a path, opened for binary input.
class ifstream : public std::ifstream {
public:
    /// A file that cannot be opened leaves the stream in the failure state.
    explicit ifstream(const basic_path<char, char16_t>& path)
        : std::ifstream(detail::make_native_access_form_i18n(path),
                        std::ios::in | std::ios::binary) {}
};

} // namespace fl::filesystem
