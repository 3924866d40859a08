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

/// Reads the files that a file-backed writer wrote for one path, and deletes them at its end.
///
/// docs/file-layout.md tells the files' names and contents. Every call reads whole files anew, with
/// one bulk read each into a vector sized once. A missing file, and the empty location, read as no
/// data; the bytes behind the last whole double of a file are left out.
///
/// Intended: destroying any reader deletes both files, whatever clones still share the store.
/// Clones read nothing afterwards, and neither do the readers of the group's other paths find
/// their times, because all paths of a group share one times file. So read what you need of a
/// group before you let go of its first reader.
///
/// Threads: several threads may read through one reader or its clones; none may be destroyed
/// meanwhile.
class LOGGING2_EXPORT NativeStreamReader : public StreamReader {
public:
    /// Shares the record of the NativeDatastore that the any holds. An empty any makes a reader
    /// without files. Throws boost::bad_any_cast where the any holds anything else.
    explicit NativeStreamReader(const boost::any& dataStore);

    /// Deletes the times file, then the values file; what that throws is dropped.
    ~NativeStreamReader() override;

    NativeStreamReader& operator=(const NativeStreamReader&) = delete;

    std::unique_ptr<StreamReader> clone() const override;

    /// Throws std::bad_alloc where memory runs out, and where the file exists but cannot be
    /// opened; std::filesystem::filesystem_error where it cannot be found out whether it exists.
    std::vector<double> times() const override;

    /// The times file is read first, then the values file; throws as times().
    std::pair<std::vector<double>, std::vector<double>> timeseries() const override;

    /// The whole contents of one file as doubles of this machine's byte order; throws as times().
    std::vector<double> read(const fl::filesystem::basic_path<char, char16_t>& file) const;

private:
    LOGGING2_NO_EXPORT NativeStreamReader(const NativeStreamReader& other);

    std::shared_ptr<NativeDatastore> store;
};

} // namespace logging2::core
