#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace logging2::core::test {

/// Sets the environment variable TMPDIR and restores it at the end. No other thread may read the
/// environment while the object is made or destroyed.
class TmpdirVariable {
public:
    explicit TmpdirVariable(const std::filesystem::path& directory) {
        if (const char* const value = std::getenv(name)) {
            former = value;
        }
        setenv(name, directory.c_str(), 1);
    }

    ~TmpdirVariable() {
        if (former) {
            setenv(name, former->c_str(), 1);
        } else {
            unsetenv(name);
        }
    }

    TmpdirVariable(const TmpdirVariable&) = delete;
    TmpdirVariable& operator=(const TmpdirVariable&) = delete;

private:
    static constexpr const char* name = "TMPDIR";
    std::optional<std::string> former;
};

} // namespace logging2::core::test
