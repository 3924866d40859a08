#pragma once

#include <istream>
#include <optional>
#include <string>
#include <vector>

namespace logging2::tools {

/// How much a signal may deviate.
struct Tolerance {
    double absolute = 0;
    double relative = 1e-3; ///< times the range of the signal's values in the first run
    double time = 0;
};

/// The tolerances of all signals.
class Tolerances {
public:
    /// The same for all signals.
    explicit Tolerances(const Tolerance& ofAllSignals) : standard(ofAllSignals) {}

    /// Reads lines `PATTERN absolute=A relative=R time=T`, of which each part but the pattern may
    /// be missing. `#` begins a comment. Throws UsageError, with the name and the number of the
    /// line, if a line is wrong.
    void read(std::istream& file, const std::string& name);

    /// What the last line with a pattern that matches the path says; where it says nothing, and
    /// without such a line, the tolerance of all signals.
    Tolerance of(const std::string& path) const;

private:
    struct Line {
        std::string pattern;
        std::optional<double> absolute;
        std::optional<double> relative;
        std::optional<double> time;
    };

    static Line parsed(const std::string& text);

    Tolerance standard;
    std::vector<Line> lines;
};

} // namespace logging2::tools
