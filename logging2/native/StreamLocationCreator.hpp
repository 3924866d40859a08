#pragma once

#include <logging2/export.hpp>
#include <logging2/host/filesystem/basic_path.hpp>

#include <string>

namespace logging2::core {

/// Chooses where a file-backed writer puts its files: in a directory of the user's below the
/// system's temporary directory, under a name stem that no other writer has.
///
/// Threads: creators on several threads, and in several processes, may share the directory.
class LOGGING2_EXPORT StreamLocationCreator {
public:
    /// Draws a unique path; throws what setUniquePath() throws.
    StreamLocationCreator();

    /// Removes neither files nor directories.
    ~StreamLocationCreator();

    StreamLocationCreator(const StreamLocationCreator&) = default;
    StreamLocationCreator(StreamLocationCreator&&) = default;
    StreamLocationCreator& operator=(const StreamLocationCreator&) = default;
    StreamLocationCreator& operator=(StreamLocationCreator&&) = default;

    /// Draws a new unique path: temporary directory / ("trakontmp." + user name) / UUID, and
    /// creates the user's directory, for the user alone, where nothing of that name exists. What
    /// exists is used as it is, whoever made it. Nothing is created at the unique path itself,
    /// which is the beginning of file names.
    ///
    /// Throws std::filesystem::filesystem_error where the directory cannot be created and
    /// boost::uuids::entropy_error where there is no random source; the former path stays then.
    void setUniquePath();

    /// The path that was drawn last; the same object on every call.
    const fl::filesystem::basic_path<char, char16_t>& getUniquePath() const;

    /// The host's temporary directory, also an empty one. Only where the host throws, the
    /// directory that Boost.Filesystem finds, made canonical; its errors come out.
    fl::filesystem::basic_path<char, char16_t> tempdir();

    /// The login name of the real user, or "unknown" where the user has none.
    fl::filesystem::basic_path<char, char16_t> username() const;

    /// A fresh unique identifier on every call; never the one in the unique path.
    fl::filesystem::basic_path<char, char16_t> uniqueId() const;

private:
    std::u16string prefix;
    fl::filesystem::basic_path<char, char16_t> uniquePath;
};

} // namespace logging2::core
