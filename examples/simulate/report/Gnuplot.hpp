#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace simulate {

/// Draws with the program gnuplot.
class Gnuplot {
public:
    /// Throws HostError where gnuplot is not on PATH.
    Gnuplot();

    /// Runs the script in the directory, where it is to leave the pictures. Throws HostError, with
    /// what gnuplot said, where it fails or a picture is not whole.
    void draw(const std::string& script, const std::filesystem::path& directory,
              const std::vector<std::string>& pictures) const;

private:
    std::filesystem::path program;
};

} // namespace simulate
