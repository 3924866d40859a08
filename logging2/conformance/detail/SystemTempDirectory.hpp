#pragma once

#include <logging2/host/filesystem/operations.hpp>
#include <logging2/host/foundation/text_conversion.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>

namespace logging2::core::test {

/// A directory of a test's own that is the system's temporary directory while the object lives.
class SystemTempDirectory {
public:
    /// Creates the directory. The suffix becomes the end of the directory's name.
    explicit SystemTempDirectory(const std::string& suffix = "")
        : directory(owner.path() / ("tmp" + suffix)) {
        std::filesystem::create_directory(directory);
        former = fl::filesystem::setTempDirectoryName(
            [this] { return foundation::utf8_string_to_ustring(directory.string()); });
    }

    ~SystemTempDirectory() { fl::filesystem::setTempDirectoryName(std::move(former)); }

    SystemTempDirectory(const SystemTempDirectory&) = delete;
    SystemTempDirectory& operator=(const SystemTempDirectory&) = delete;

    const std::filesystem::path& path() const { return directory; }

private:
    TemporaryDirectory owner;
    std::filesystem::path directory;
    std::function<std::u16string()> former;
};

} // namespace logging2::core::test
