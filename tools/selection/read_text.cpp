#include <tools/selection/read_text.hpp>

#include <tools/UsageError.hpp>

namespace logging2::tools {
namespace {

constexpr std::size_t mostBytes = std::size_t{16} * 1024 * 1024;

} // namespace

std::string read_text(std::istream& file, const std::string& name) {
    std::string text(mostBytes + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    if (file.bad() || text.size() > mostBytes) {
        throw UsageError(name + " cannot be read, or is longer than 16 MiB");
    }
    return text;
}

} // namespace logging2::tools
