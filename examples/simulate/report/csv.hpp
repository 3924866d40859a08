#pragma once

#include <examples/simulate/logging/RunResult.hpp>

#include <filesystem>
#include <string>

namespace simulate {

/// "time [s],ball.height [m],…": one column per component of each path.
std::string csv_header(const GroupResult& result, const std::string& timeUnit);

/// The shortest 17 significant digits from which the double is read back bit for bit.
void append_number(std::string& text, double value);

/// Writes the header and one line per sample. Throws HostError where the file cannot be written
/// whole.
void write_csv(const GroupResult& result, const std::string& timeUnit,
               const std::filesystem::path& file);

} // namespace simulate
