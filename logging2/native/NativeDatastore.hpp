#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <ostream>
#include <string>

namespace logging2::core {

/// Names the two files that hold the data of one logged path, as a file-backed writer's
/// `dataStore` gives it out inside a boost::any. docs/file-layout.md tells names and contents.
///
/// A handle; copies share one immutable record and may be copied and released on any thread. It
/// stays valid when the writer is gone; whether the files exist is another matter.
class LOGGING2_EXPORT NativeDatastore {
public:
    /// Copies both full paths; they may be empty.
    NativeDatastore(const std::u16string& times, const std::u16string& values);

    // Moving copies, so that no handle is ever without its record.
    NativeDatastore(const NativeDatastore&) = default;
    NativeDatastore& operator=(const NativeDatastore&) = default;
    ~NativeDatastore() = default;

    /// The times file of the path's group.
    ///
    /// Intended: a writer's store widens the name byte by byte, so where the temporary directory
    /// or the user name has non-ASCII characters this names no file, and a reader finds no times.
    const std::u16string& timesLocation() const;

    /// The values file of the path.
    const std::u16string& valuesLocation() const;

private:
    struct Record {
        std::u16string timesLocation;
        std::u16string valuesLocation;
    };

    std::shared_ptr<const Record> record;
};

/// The two locations as UTF-8, such as "{/t/a_times_0; /t/a_values_0_3}", without a line break.
LOGGING2_EXPORT std::ostream& operator<<(std::ostream& stream, const NativeDatastore& store);

} // namespace logging2::core
