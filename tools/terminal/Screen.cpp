#include <tools/terminal/Screen.hpp>

#include <tools/UsageError.hpp>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

namespace logging2::tools {
namespace {

constexpr std::size_t usualHeight = 24;

// Escape sequences of ECMA-48 and xterm.
constexpr const char* enter = "\x1b[?1049h\x1b[?25l"; // another page, without a cursor
constexpr const char* leave = "\x1b[?25h\x1b[?1049l";
constexpr const char* toTheTop = "\x1b[H";
constexpr const char* eraseLine = "\x1b[K";
constexpr const char* eraseBelow = "\x1b[J";

} // namespace

Screen::Screen() {
    if (isatty(STDOUT_FILENO) == 0 || tcgetattr(STDIN_FILENO, &former) != 0) {
        throw UsageError("this command needs a terminal; use --json elsewhere");
    }
    termios raw = former;
    raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &raw);
    std::cout << enter << std::flush;
}

Screen::~Screen() {
    std::cout << leave << std::flush;
    tcsetattr(STDIN_FILENO, TCSANOW, &former);
}

std::size_t Screen::height() {
    winsize size{};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 ? size.ws_row
                                                                           : usualHeight;
}

void Screen::show(const std::string& page) {
    std::string text = toTheTop;
    for (const char c : page) {
        text += c == '\n' ? std::string(eraseLine) + '\n' : std::string(1, c);
    }
    std::cout << text << eraseBelow << std::flush;
}

std::optional<char> Screen::keyWithin(std::chrono::milliseconds time) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char key = 0;
    if (poll(&input, 1, static_cast<int>(time.count())) == 1 && read(STDIN_FILENO, &key, 1) == 1) {
        return key;
    }
    return std::nullopt;
}

} // namespace logging2::tools
