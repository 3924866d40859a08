#include <tools/command_line.hpp>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// A standard stream that is closed becomes one that fails. Otherwise its descriptor would become
/// that of a file, and messages would be written to the file.
void occupy_closed_streams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace

int main(int argc, char** argv) {
    occupy_closed_streams();
    return logging2::tools::run_command_line(argc, argv, logging2::tools::Terminal::ofProcess());
}
