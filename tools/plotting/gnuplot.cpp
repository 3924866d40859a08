#include <tools/plotting/gnuplot.hpp>

#include <tools/terminal/Interrupt.hpp>

#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace logging2::tools {
namespace {

/// A file in memory that a child process can read or write.
class MemoryFile {
public:
    MemoryFile() : descriptor(memfd_create("plot", MFD_CLOEXEC)) {
        if (descriptor < 0) {
            throw std::system_error(errno, std::generic_category(), "memfd_create");
        }
    }
    ~MemoryFile() { close(descriptor); }

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int number() const noexcept { return descriptor; }

    /// Its content becomes the text, which a reader begins at the start.
    void fill(const std::string& text) const {
        for (std::size_t done = 0; done < text.size();) {
            const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
            if (count < 0 && errno != EINTR) {
                throw std::system_error(errno, std::generic_category(), "cannot pass the plot on");
            }
            done += count < 0 ? 0 : static_cast<std::size_t>(count);
        }
        lseek(descriptor, 0, SEEK_SET);
    }

    std::string text() const {
        std::string result;
        std::array<char, 65536> part{};
        lseek(descriptor, 0, SEEK_SET);
        for (;;) {
            const ssize_t count = read(descriptor, part.data(), part.size());
            if (count <= 0) {
                return result;
            }
            result.append(part.data(), static_cast<std::size_t>(count));
        }
    }

private:
    int descriptor;
};

pid_t start_gnuplot(const MemoryFile& input, const MemoryFile& output, const MemoryFile& messages) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input.number(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.number(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, messages.number(), STDERR_FILENO);
    // -d: the user's own settings would change the picture.
    std::string name = "gnuplot";
    std::string noSettings = "-d";
    std::array<char*, 3> arguments = {name.data(), noSettings.data(), nullptr};
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, name.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        throw std::runtime_error("gnuplot cannot be started; install it to draw plots");
    }
    return process;
}

/// gnuplot quotes the line of the script before its message; the message is the last line.
std::string reason_of(int status, std::string messages) {
    messages.erase(messages.find_last_not_of(" \n") + 1);
    messages.erase(0, messages.rfind('\n') + 1);
    messages.erase(0, messages.find_first_not_of(' '));
    if (!messages.empty()) {
        return messages;
    }
    return WIFSIGNALED(status) ? "it was ended by signal " + std::to_string(WTERMSIG(status))
                               : "it ended with status " + std::to_string(WEXITSTATUS(status));
}

} // namespace

std::string run_gnuplot(const std::string& script) {
    const MemoryFile input;
    const MemoryFile output;
    const MemoryFile messages;
    input.fill(script);
    const pid_t process = start_gnuplot(input, output, messages);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    InterruptGuard::check();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("gnuplot failed: " + reason_of(status, messages.text()));
    }
    return output.text();
}

} // namespace logging2::tools
