#include <tools/terminal/Terminal.hpp>

#include <tools/terminal/text.hpp>

#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>

namespace logging2::tools {
namespace {

constexpr std::size_t usualWidth = 80;

std::optional<std::size_t> width_of(int descriptor) {
    if (isatty(descriptor) == 0) {
        return std::nullopt;
    }
    winsize size{};
    if (ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) {
        return usualWidth;
    }
    return size.ws_col;
}

/// See https://no-color.org: any text but the empty one switches colours off.
bool has_no_color() {
    const char* const value = std::getenv("NO_COLOR"); // NOLINT(concurrency-mt-unsafe)
    return value != nullptr && *value != '\0';
}

bool is_file(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

Terminal Terminal::ofProcess() {
    const std::optional<std::size_t> width = width_of(STDOUT_FILENO);
    return {std::cout,
            std::cerr,
            width,
            width && !has_no_color(),
            isatty(STDERR_FILENO) != 0,
            is_file(STDOUT_FILENO)};
}

void Terminal::printLine(const std::string& text) const {
    out << wrapped(text, width) << '\n';
}

} // namespace logging2::tools
