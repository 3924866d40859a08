#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>
#include <logging2/native/NativeDatastore.hpp>
#include <logging2/stream/StreamReader.hpp>

#include <boost/any.hpp>

#include <memory>
#include <utility>
#include <vector>

namespace logging2::core {

/// Reads the files that a NativeStreamWriter wrote for one path, and deletes the files when it is
/// destroyed.
///
/// Intended: destroying any reader or clone deletes both files, even if other clones share the
/// store. The other clones then return no data. All paths of a group share one times file, so the
/// readers of the group's other paths then return no times. Read everything that you need of a
/// group before you destroy its first reader.
///
/// Every call reads the whole file again, with one bulk read into a vector that is sized once. A
/// missing file and an empty location read as no data. Bytes after the last whole double of a file
/// are ignored. Elements that a failing read does not reach are 0.0. docs/using/files.md describes
/// the names and contents of the files.
///
/// Threads: several threads may read through one reader or its clones at once. None of them may be
/// destroyed meanwhile.
class LOGGING2_EXPORT NativeStreamReader : public StreamReader {
public:
    /// Makes a reader of the files that the NativeDatastore in the any names. An empty any gives a
    /// reader without files. Throws boost::bad_any_cast if the any holds anything else.
    explicit NativeStreamReader(const boost::any& dataStore);

    /// Deletes the times file and then the values file. Errors are ignored; the file stays then.
    ~NativeStreamReader() override;

    NativeStreamReader& operator=(const NativeStreamReader&) = delete;

    std::unique_ptr<StreamReader> clone() const override;

    /// Returns the contents of the times file.
    ///
    /// Throws std::bad_alloc if memory runs out, and also if the file exists but cannot be opened.
    /// Throws std::filesystem::filesystem_error if it cannot be determined whether the file exists.
    std::vector<double> times() const override;

    /// Returns the contents of the times file and of the values file, read in this order. Throws
    /// what times() throws.
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

    /// Returns the whole contents of one file as doubles in this machine's byte order. Throws what
    /// times() throws.
    std::vector<double> read(const fl::filesystem::basic_path<char, char16_t>& file) const;

private:
    LOGGING2_NO_EXPORT NativeStreamReader(const NativeStreamReader& other);

    std::shared_ptr<NativeDatastore> store;
};

} // namespace logging2::core
