#include <tools/view/open_browser.hpp>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <thread>

namespace logging2::tools::view {
namespace {

std::string variable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe)
    return value == nullptr ? std::string() : value;
}

/// A new file that only the user can read; empty if it cannot be made.
std::string new_file(const std::string& content) {
    const std::string runtime = variable("XDG_RUNTIME_DIR");
    std::string name = (runtime.empty() ? "/tmp" : runtime) + "/logging2-view-XXXXXX.html";
    constexpr int suffixLength = 5;
    const Descriptor descriptor(mkostemps(name.data(), suffixLength, O_CLOEXEC));
    if (descriptor.get() == -1) {
        return {};
    }
    std::ofstream(name) << content;
    return name;
}

/// Output of the browser must not get between that of the command.
void start_browser(const std::string& file) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    }
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    std::string program = "xdg-open";
    std::string argument = file;
    char* const arguments[] = {program.data(), argument.data(), nullptr};
    pid_t process = 0;
    if (posix_spawnp(&process, program.c_str(), &actions, &attributes, arguments, environ) == 0) {
        std::thread([process] { waitpid(process, nullptr, 0); }).detach();
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
}

} // namespace

bool has_desktop() {
    return !variable("DISPLAY").empty() || !variable("WAYLAND_DISPLAY").empty();
}

OpenedBrowser::OpenedBrowser(const std::string& address)
    : file(new_file("<!DOCTYPE html>\n<meta charset=\"utf-8\">"
                    "<meta http-equiv=\"refresh\" content=\"0;url=" +
                    address + "\"><title>logging2 view</title>\n<a href=\"" + address +
                    "\">logging2 view</a>\n")) {
    if (!file.empty()) {
        start_browser(file);
    }
}

OpenedBrowser::~OpenedBrowser() {
    if (!file.empty()) {
        unlink(file.c_str());
    }
}

} // namespace logging2::tools::view
