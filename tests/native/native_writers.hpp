#pragma once

#include <logging2/logging2.hpp>

#include <logging2/conformance/detail/SystemTempDirectory.hpp>
#include <tests/native/NativeStreamWriterAccess.hpp>
#include <tests/support/files.hpp>
#include <tests/support/setups.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace logging2::core::test {

/// Gives a writer's files a directory of the test's own.
class NativeStreamWriterTest : public ::testing::Test {
protected:
    static NativeDatastore store(const NativeStreamWriter& writer, const char* path) {
        return boost::any_cast<NativeDatastore>(writer.dataStore(ValuePath(path)));
    }

    static std::filesystem::path timesFile(const NativeStreamWriter& writer, const char* path) {
        return native(store(writer, path).timesLocation());
    }

    static std::filesystem::path valuesFile(const NativeStreamWriter& writer, const char* path) {
        return native(store(writer, path).valuesLocation());
    }

    static std::vector<double> timesIn(const NativeStreamWriter& writer, const char* path) {
        return doublesOf(timesFile(writer, path));
    }

    static std::vector<double> valuesIn(const NativeStreamWriter& writer, const char* path) {
        return doublesOf(valuesFile(writer, path));
    }

    /// The names of all files without their unique stem, sorted: "times_0" or "values_0_1".
    std::vector<std::string> fileNames() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(directory.path())) {
            if (!entry.is_directory()) {
                const std::string name = entry.path().filename();
                names.push_back(name.substr(name.find('_') + 1));
            }
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    SystemTempDirectory directory;
};

/// Writes scalar samples whose value is ten times their time.
inline void writeTimes(NativeStreamWriter& writer, std::size_t group,
                       const std::vector<double>& times) {
    for (const double time : times) {
        write(writer, group, time, {10.0 * time});
    }
}

/// Scalar groups of the given ids; group g has the channel g, shown by the path "x" + g.
inline GroupSetup scalarGroups(std::initializer_list<std::size_t> ids) {
    GroupSetup setup;
    for (const std::size_t id : ids) {
        setup.insert(Group(id),
                     LoggedPathsSetupData({{ValuePath("x" + std::to_string(id)), CoreDataId(id)}},
                                          channels({{id, 1}})));
    }
    return setup;
}

} // namespace logging2::core::test
