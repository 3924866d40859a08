#pragma once

#include <logging2/host/filesystem/operations.hpp>
#include <logging2/host/foundation/text_conversion.hpp>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// A fresh directory that is removed with everything in it at the end, and stands for the
/// system's temporary directory meanwhile.
class TempDirectory {
public:
    /// The suffix becomes part of the directory's name.
    explicit TempDirectory(const std::string& suffix = "") {
        std::string name = (std::filesystem::temp_directory_path() / "logging2-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            throw std::runtime_error("mkdtemp " + name);
        }
        top = name;
        directory = top / ("tmp" + suffix);
        std::filesystem::create_directory(directory);
        former = fl::filesystem::setTempDirectoryName(
            [this] { return foundation::utf8_string_to_ustring(directory.string()); });
    }

    ~TempDirectory() {
        fl::filesystem::setTempDirectoryName(std::move(former));
        std::error_code ignored;
        std::filesystem::remove_all(top, ignored);
    }

    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::filesystem::path& path() const { return directory; }

private:
    std::filesystem::path top;
    std::filesystem::path directory;
    std::function<std::u16string()> former;
};

} // namespace logging2::core::test
