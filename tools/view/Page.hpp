#pragma once

#include <tools/view/messages.hpp>

#include <string>

namespace logging2::tools::view {

/// The file of the page at this path: one of those that are part of the program, or of the plotting
/// library. Throws HttpError with status 404 if there is none. The path of a request is only
/// compared, and never becomes the name of a file.
Reply page_file(const std::string& path);

} // namespace logging2::tools::view
