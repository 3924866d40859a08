#include <examples/simulate/report/csv.hpp>

#include <examples/simulate/HostError.hpp>

#include <array>
#include <cerrno>
#include <charconv>
#include <fstream>
#include <system_error>
#include <utility>

namespace simulate {
namespace {

constexpr std::size_t blockByteCount = std::size_t{1} << 20;

void append_line(std::string& text, const GroupResult& result, std::size_t sample) {
    append_number(text, result.times[sample]);
    for (std::size_t path = 0; path < result.values.size(); ++path) {
        const std::size_t width = result.info.paths[path].width();
        for (std::size_t component = 0; component < width; ++component) {
            text += ',';
            append_number(text, result.values[path][sample * width + component]);
        }
    }
    text += '\n';
}

void write_block(std::ofstream& stream, std::string& text) {
    stream.write(text.data(), static_cast<std::streamsize>(text.size()));
    text.clear();
}

void write_lines(std::ofstream& stream, const GroupResult& result, std::string header) {
    std::string text = std::move(header) + '\n';
    for (std::size_t sample = 0; sample < result.times.size() && stream; ++sample) {
        append_line(text, result, sample);
        if (text.size() >= blockByteCount) {
            write_block(stream, text);
        }
    }
    write_block(stream, text);
}

} // namespace

std::string csv_header(const GroupResult& result, const std::string& timeUnit) {
    std::string header = "time [" + timeUnit + ']';
    for (const PathInfo& path : result.info.paths) {
        for (std::size_t component = 0; component < path.width(); ++component) {
            header += ',' + path.label(component) + " [" + path.components[component].unit + ']';
        }
    }
    return header;
}

void append_number(std::string& text, double value) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value,
                                   std::chars_format::general, 17);
    text.append(digits.data(), end.ptr);
}

void write_csv(const GroupResult& result, const std::string& timeUnit,
               const std::filesystem::path& file) {
    errno = 0;
    std::ofstream stream(file, std::ios::binary);
    write_lines(stream, result, csv_header(result, timeUnit));
    stream.close();
    if (!stream) {
        const std::string reason =
            errno == 0 ? "the write failed" : std::generic_category().message(errno);
        throw HostError("cannot write \"" + file.filename().string() + "\": " + reason);
    }
}

} // namespace simulate
