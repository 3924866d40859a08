#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>

#include <string>

namespace logging2::core {

/// Chooses where a file-backed writer puts its files: in a directory of the user below the system's
/// temporary directory, under a name stem that no other writer has.
///
/// Threads: creators on several threads and in several processes may share the directory. One
/// creator may be used by one thread at a time.
class LOGGING2_EXPORT StreamLocationCreator {
public:
    /// Draws a unique path. Throws what setUniquePath() throws.
    StreamLocationCreator();

    /// Leaves all files and directories in place.
    ~StreamLocationCreator();

    StreamLocationCreator(const StreamLocationCreator&) = default;
    StreamLocationCreator(StreamLocationCreator&&) = default;
    StreamLocationCreator& operator=(const StreamLocationCreator&) = default;
    StreamLocationCreator& operator=(StreamLocationCreator&&) = default;

    /// Draws a new unique path: temporary directory / ("trakontmp." + user name) / UUID.
    ///
    /// Creates the user's directory with mode 0700 if nothing of that name exists. If something
    /// exists, it is used as it is, whoever created it. Nothing is created at the unique path
    /// itself, which is only the beginning of file names.
    ///
    /// Throws std::filesystem::filesystem_error if the directory cannot be created,
    /// boost::uuids::entropy_error if there is no random source, and what tempdir() throws. The
    /// former path stays then.
    void setUniquePath();

    /// Returns the path that was drawn last. Every call returns the same object, which lives as
    /// long as the creator.
    const fl::filesystem::basic_path<char, char16_t>& getUniquePath() const;

    /// Returns the host's temporary directory, fl::filesystem::temp_directory_name(), even if it is
    /// empty. If that function throws, returns the canonical form of the directory that
    /// Boost.Filesystem finds, and throws what Boost.Filesystem throws.
    fl::filesystem::basic_path<char, char16_t> tempdir();

    /// Returns the login name of the real user, or "unknown" if the user has none.
    fl::filesystem::basic_path<char, char16_t> username() const;

    /// Returns a fresh unique identifier on every call. It is never the one in the unique path.
    fl::filesystem::basic_path<char, char16_t> uniqueId() const;

private:
    std::u16string prefix;
    fl::filesystem::basic_path<char, char16_t> uniquePath;
};

} // namespace logging2::core
