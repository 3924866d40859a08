#pragma once

#include <logging2/export.hpp>

#include <memory>
#include <ostream>
#include <string>

namespace logging2::core {

/// Names the two files that hold the data of one logged path. NativeStreamWriter::dataStore()
/// returns it inside a boost::any. docs/using/files.md describes the names and contents of the
/// files.
///
/// Copies share one immutable record; they may be made and released on any thread. A store stays
/// valid after the writer is destroyed, but it does not tell whether the files exist.
class LOGGING2_EXPORT NativeDatastore {
public:
    /// Copies the full paths of the two files. Either may be empty.
    NativeDatastore(const std::u16string& times, const std::u16string& values);

    // There is no move, so that no handle is ever without its record.
    NativeDatastore(const NativeDatastore&) = default;
    NativeDatastore& operator=(const NativeDatastore&) = default;
    ~NativeDatastore() = default;

    /// Returns the full path of the times file of the path's group.
    ///
    /// Intended: the writer widens this path byte by byte. If the temporary directory or the user
    /// name has non-ASCII characters, the location names no file and a reader finds no times.
    const std::u16string& timesLocation() const;

    /// Returns the full path of the values file of the path.
    const std::u16string& valuesLocation() const;

private:
    struct Record {
        std::u16string timesLocation;
        std::u16string valuesLocation;
    };

    std::shared_ptr<const Record> record;
};

/// Prints the two locations in UTF-8 and without a line break, such as "{/t/a_times_0;
/// /t/a_values_0_3}".
LOGGING2_EXPORT std::ostream& operator<<(std::ostream& stream, const NativeDatastore& store);

} // namespace logging2::core
