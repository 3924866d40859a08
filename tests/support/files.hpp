#pragma once

#include <logging2/host/filesystem/basic_path.hpp>
#include <logging2/host/foundation/text_conversion.hpp>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace logging2::core::test {

inline std::filesystem::path native(const std::u16string& location) {
    return foundation::ustring_to_utf8_string(location);
}

inline std::string bytesOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The whole doubles of a file.
inline std::vector<double> doublesOf(const std::filesystem::path& file) {
    const std::string bytes = bytesOf(file);
    std::vector<double> values(bytes.size() / sizeof(double));
    if (!values.empty()) {
        std::memcpy(values.data(), bytes.data(), values.size() * sizeof(double));
    }
    return values;
}

inline void writeBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

inline void writeDoubles(const std::filesystem::path& file, const std::vector<double>& values) {
    writeBytes(file, std::string(reinterpret_cast<const char*>(values.data()),
                                 values.size() * sizeof(double)));
}

} // namespace logging2::core::test
