#include <tests/integration/support/TemporaryDirectory.hpp>

#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace integration {

namespace fs = std::filesystem;

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (fs::temp_directory_path() / "simulate-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    directory = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(directory, ignored);
}

std::vector<std::string> TemporaryDirectory::names() const {
    std::vector<std::string> result;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
        result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
}

std::string contents_of(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(stream), {});
}

void write_text(const fs::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

} // namespace integration
