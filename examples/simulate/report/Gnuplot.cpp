#include <examples/simulate/report/Gnuplot.hpp>

#include <examples/simulate/HostError.hpp>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace simulate {
namespace {

namespace fs = std::filesystem;

fs::path find_program(const std::string& name) {
    const char* const path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): nobody sets it
    std::istringstream directories(path == nullptr ? "" : path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        const fs::path candidate = fs::path(directory) / name;
        if (fs::is_regular_file(candidate) && access(candidate.c_str(), X_OK) == 0) {
            return fs::absolute(candidate);
        }
    }
    return {};
}

std::string shell_quoted(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + '\'';
}

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    return text;
}

/// gnuplot quotes the script line before its message; the message is the last line.
std::string last_line(const std::string& text) {
    std::istringstream lines(text);
    std::string last = "no message";
    for (std::string line; std::getline(lines, line);) {
        last = line.find_first_not_of(" \t\r") == std::string::npos ? last : line;
    }
    return last.substr(last.find_first_not_of(" \t"));
}

/// gnuplot does not report a full disk, so the end of the file is looked at.
bool is_whole(const fs::path& picture) {
    const std::string text = contents(picture);
    const std::string end = picture.extension() == ".svg" ? "</svg>" : "IEND";
    const std::size_t found = text.rfind(end);
    return found != std::string::npos && found + end.size() + 8 > text.size();
}

/// Runs the shell command with the text on its standard input.
bool feed(const std::string& command, const std::string& text) {
    FILE* const pipe = popen(command.c_str(), "w");
    if (pipe == nullptr) {
        return false;
    }
    const bool sent = fwrite(text.data(), 1, text.size(), pipe) == text.size();
    return pclose(pipe) == 0 && sent;
}

} // namespace

Gnuplot::Gnuplot() : program(find_program("gnuplot")) {
    if (program.empty()) {
        throw HostError("gnuplot is not on the PATH; install it, or use --no-plots");
    }
}

void Gnuplot::draw(const std::string& script, const fs::path& directory,
                   const std::vector<std::string>& pictures) const {
    const fs::path log = directory / "gnuplot.log";
    const std::string command = "cd " + shell_quoted(directory.string()) + " && exec " +
                                shell_quoted(program.string()) + " >/dev/null 2>gnuplot.log";
    if (!feed(command, script)) {
        throw HostError("gnuplot failed: " + last_line(contents(log)));
    }
    fs::remove(log);
    for (const std::string& picture : pictures) {
        if (!is_whole(directory / picture)) {
            throw HostError("cannot write \"" + picture +
                            "\": gnuplot wrote an incomplete picture");
        }
    }
}

} // namespace simulate
