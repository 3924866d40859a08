#include <benchmarks/contenders/KeptFiles.hpp>

#include <string>
#include <system_error>
#include <utility>

namespace logging2::core::bench {

namespace fs = std::filesystem;

KeptFiles::KeptFiles(fs::path parentDirectory) : parent(std::move(parentDirectory)) {}

KeptFiles::~KeptFiles() {
    if (kept.empty()) {
        return;
    }
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(kept, ignored)) {
        fs::resize_file(entry.path(), 0, ignored);
    }
}

void KeptFiles::keep(const fs::path& directory) {
    if (parent.empty()) {
        return;
    }
    kept = parent / directory.filename();
    fs::create_directory(kept);
    std::size_t count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file() && !entry.is_symlink()) {
            fs::create_hard_link(entry.path(), kept / std::to_string(count++));
        }
    }
}

} // namespace logging2::core::bench
