#pragma once

#include <logging2/native/NativeStreamReader.hpp>

#include <logging2/conformance/detail/TemporaryDirectory.hpp>
#include <tests/support/files.hpp>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <vector>

namespace logging2::core::test {

/// The files "times" and "values" with three samples, and a reader of them.
class StoredFilesTest : public ::testing::Test {
protected:
    StoredFilesTest() { store(); }

    /// Writes the files again for a new reader.
    void store() {
        reader.reset();
        writeDoubles(times, storedTimes);
        writeDoubles(values, storedValues);
        reader = std::make_unique<NativeStreamReader>(
            NativeDatastore(foundation::utf8_string_to_ustring(times.string()),
                            foundation::utf8_string_to_ustring(values.string())));
    }

    const std::vector<double> storedTimes = {1.0, 2.0, 3.0};
    const std::vector<double> storedValues = {10.0, 20.0, 30.0};
    TemporaryDirectory directory;
    std::filesystem::path times = directory.path() / "times";
    std::filesystem::path values = directory.path() / "values";
    std::unique_ptr<NativeStreamReader> reader;
};

} // namespace logging2::core::test
