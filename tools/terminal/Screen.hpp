#pragma once

#include <termios.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

namespace logging2::tools {

/// The whole terminal of the process: shows pages of text and reads keys. The destructor restores
/// what was there before. One at a time.
class Screen {
public:
    /// Throws UsageError if the standard input or output is no terminal.
    Screen();
    ~Screen();

    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// How many lines there are at this moment.
    static std::size_t height();

    /// Replaces what is shown.
    static void show(const std::string& page);

    /// The key that was pressed; waits for one for so long at most. A signal ends the wait.
    static std::optional<char> keyWithin(std::chrono::milliseconds time);

private:
    termios former{};
};

} // namespace logging2::tools
