#pragma once

#include <string_view>
#include <vector>

namespace logging2::tools::view {

/// A file that was made part of the program when it was built.
struct EmbeddedFile {
    std::string_view name;
    std::string_view content;
};

/// The files of the folder page/.
const std::vector<EmbeddedFile>& embedded_files();

} // namespace logging2::tools::view
