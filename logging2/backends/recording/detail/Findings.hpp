#pragma once

#include <logging2/backends/recording/check_recording.hpp>

#include <cstddef>
#include <string>

namespace logging2::core::detail {

/// Collects what is wrong with a recording, in lines that are fit to be printed.
class Findings {
public:
    /// Further lines are only counted.
    static constexpr std::size_t greatestLineCount = 1000;

    /// Longer lines are cut off.
    static constexpr std::size_t greatestLineLength = 1000;

    explicit Findings(RecordingCheck& result) : check(result) {}

    /// Adds what is wrong with a file or a directory.
    void add(const std::string& place, const std::string& fault);

    /// Adds the message of an error, which names its place.
    void add(const std::exception& error);

private:
    void addLine(std::string line);

    RecordingCheck& check;
};

/// "step 5", or "steps 5 to 7".
std::string text_of_steps(std::size_t firstStep, std::size_t stepCount);

/// "NAME is FOUND instead of EXPECTED".
std::string text_of_difference(const std::string& name, double expected, double found);
std::string text_of_difference(const std::string& name, std::uint64_t expected,
                               std::uint64_t found);

} // namespace logging2::core::detail
