#pragma once

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/allocation/subjects.hpp>
#include <tests/native/NativeStreamWriterAccess.hpp>
#include <tests/support/files.hpp>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::test {

inline bool isBelow(const std::filesystem::path& path, const std::filesystem::path& directory) {
    const std::string text = path.string();
    return text.rfind(directory.string() + '/', 0) == 0 ||
           text.rfind(std::filesystem::canonical(directory).string() + '/', 0) == 0;
}

/// Provides the host's temporary directory and the library's fallback directory. They are different
/// directories that belong to the test.
class NativeSweepTest : public ::testing::Test {
public:
    SystemTempDirectory directory;
    TemporaryDirectory fallback;

protected:
    NativeSweepTest() {
        if (const char* const variable = std::getenv("TMPDIR")) {
            formerDirectory = variable;
        }
        setenv("TMPDIR", fallback.path().c_str(), 1);
    }

    ~NativeSweepTest() override {
        if (formerDirectory) {
            setenv("TMPDIR", formerDirectory->c_str(), 1);
        } else {
            unsetenv("TMPDIR");
        }
    }

private:
    std::optional<std::string> formerDirectory;
};

/// A file-backed writer of two groups.
struct NativeSubject {
    std::unique_ptr<NativeStreamWriter> writer =
        std::make_unique<NativeStreamWriter>(fullAttributes(), twoGroups());

    void write(std::size_t group, const std::vector<double>& times) {
        for (const double time : times) {
            const std::vector<double> row = rowAt(group, time);
            writer->write(group, time, row.data(), row.size());
        }
    }

    NativeDatastore store(const char* path) const {
        return boost::any_cast<NativeDatastore>(writer->dataStore(ValuePath(path)));
    }

    std::vector<double> timesIn(const char* path) const {
        return doublesOf(native(store(path).timesLocation()));
    }

    std::vector<double> valuesIn(const char* path) const {
        return doublesOf(native(store(path).valuesLocation()));
    }

    /// Expects the files to hold exactly the samples of these times.
    void expectInFiles(std::size_t group, const std::vector<double>& times) const {
        EXPECT_EQ(timesIn(group == 0 ? firstPath : secondGroupPath), times);
        std::vector<double> narrow;
        std::vector<double> wide;
        for (const double time : times) {
            const std::vector<double> row = rowAt(group, time);
            narrow.push_back(row.front());
            wide.insert(wide.end(), row.begin() + 1, row.end());
        }
        EXPECT_EQ(valuesIn(group == 0 ? firstPath : secondGroupPath), narrow);
        if (group == 0) {
            EXPECT_EQ(valuesIn(aliasPath), narrow);
            EXPECT_EQ(valuesIn(widePath), wide);
        }
    }
};

} // namespace logging2::core::test
