#include <tools/terminal/confirm.hpp>

#include <tools/UsageError.hpp>

#include <unistd.h>

#include <iostream>

namespace logging2::tools {

bool confirm(const Terminal& terminal, const std::string& question) {
    if (isatty(STDIN_FILENO) == 0) {
        throw UsageError("there is no terminal to ask for permission; --yes gives it");
    }
    terminal.error << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "yes";
}

} // namespace logging2::tools
