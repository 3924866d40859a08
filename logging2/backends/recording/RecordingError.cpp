#include <logging2/backends/recording/RecordingError.hpp>

#include <utility>

namespace logging2::core {
namespace {

std::string message(const std::string& place, const std::string& cause,
                    const std::optional<UnstoredSample>& unstored) {
    std::string text = place + ": " + cause;
    if (unstored) {
        text += "; step " + std::to_string(unstored->step) + " of group " +
                std::to_string(unstored->group) + " is the first that is not stored";
    }
    return text;
}

} // namespace

RecordingError::RecordingError(std::string errorPlace, const std::string& cause,
                               std::optional<UnstoredSample> firstUnstored)
    : std::runtime_error(message(errorPlace, cause, firstUnstored)),
      place(std::move(errorPlace)),
      unstored(firstUnstored) {}

RecordingError::RecordingError(const RecordingError&) = default;
RecordingError& RecordingError::operator=(const RecordingError&) = default;
RecordingError::~RecordingError() = default;

} // namespace logging2::core
