#pragma once

#include <logging2/backends/recording/export.hpp>

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

namespace logging2::core {

/// The first sample that a recording could not store.
struct UnstoredSample {
    /// The id of its group.
    std::size_t group = 0;

    /// The number of its step, from 0 on.
    std::size_t step = 0;
};

/// A recording could not be written, opened or read. The message names the place and the cause.
class LOGGING2_RECORDING_EXPORT RecordingError : public std::runtime_error {
public:
    /// An error at this place, which is a directory or a file.
    RecordingError(std::string place, const std::string& cause,
                   std::optional<UnstoredSample> firstUnstored = std::nullopt);
    /// Copies the error.
    RecordingError(const RecordingError&);
    /// Copies the error.
    RecordingError& operator=(const RecordingError&);
    ~RecordingError() override;

    /// The directory or the file.
    const std::string& location() const noexcept { return place; }

    /// If samples could not be stored: the first one of them. They are still held, and the next
    /// call on the writer tries again.
    const std::optional<UnstoredSample>& firstUnstored() const noexcept { return unstored; }

private:
    std::string place;
    std::optional<UnstoredSample> unstored;
};

} // namespace logging2::core
