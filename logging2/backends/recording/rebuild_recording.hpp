#pragma once

#include <logging2/backends/recording/RecordingOptions.hpp>
#include <logging2/backends/recording/RecordingProgress.hpp>
#include <logging2/backends/recording/export.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace logging2::core {

/// Steps that a data file held and that cannot be read any more.
struct LostSteps {
    /// The id of their group.
    std::size_t group = 0;

    /// The first one, as it was numbered when it was written.
    std::size_t firstStep = 0;

    /// How many they are.
    std::size_t stepCount = 0;
};

/// Bytes of a data file that are no record of the run.
struct LostBytes {
    /// The first one.
    std::uint64_t offset = 0;

    /// How many they are.
    std::uint64_t byteCount = 0;
};

/// What rebuild_recording() could not save.
struct RecordingRebuild {
    /// The steps that are known to be lost, by group. The later steps of the group follow those
    /// before without a gap, so that they have smaller numbers in the new recording.
    std::vector<LostSteps> lostSteps;

    /// Where records are damaged beyond recognition or incomplete. They may have held steps that
    /// are not in lostSteps: the last ones of their group.
    std::vector<LostBytes> lostBytes;

    /// Whether rollbacks may be among the lost records. If so, the new recording may hold steps
    /// that the host had discarded.
    bool mayLackRollback = false;

    /// How many steps the new recording has, in all groups.
    std::size_t stepCount = 0;

    /// Whether nothing is missing, as far as the data file tells. It does not tell whether whole
    /// records are missing at its end.
    bool isComplete() const noexcept {
        return lostSteps.empty() && lostBytes.empty() && !mayLackRollback;
    }
};

/// Makes a new recording from the data file `samples.bin` of another one, whose index may be lost
/// or damaged. If the description at the beginning of the data file is damaged, that of the index
/// is used, provided that a hash or the text that is left proves it to be the same. newDirectory is
/// the directory of the new recording itself; it must not exist, and its parent must. The old
/// recording is not changed, and no permission to write to it is needed.
///
/// The new recording has the same id, description, start and revision. Its state is interrupted,
/// and its end is unknown. It holds every step that fits its hash and that no rollback discarded,
/// also behind damaged parts of the file. Steps that the host wrote last are kept even if it could
/// not commit them any more. Options are obeyed as by copy_recording().
///
/// Throws RecordingError if a host is still writing the recording (copy_recording() copies those),
/// if the description is damaged in both files, or if the new recording cannot be written;
/// std::invalid_argument if an option has no meaning, std::bad_alloc, and what the progress throws.
/// Then there is nothing at newDirectory. The new recording is made under a name of its own beside
/// newDirectory, where it stays if the process is killed.
///
/// Reads all samples twice, writes them once, and checks the result with check_recording(). Memory:
/// 200 bytes per chunk, one chunk as rows and as columns, and 256 steps of one signal. Any thread
/// may call.
LOGGING2_RECORDING_EXPORT RecordingRebuild
rebuild_recording(const std::string& directory, const std::string& newDirectory,
                  const RecordingOptions& options = {}, const RecordingProgress& progress = {});

} // namespace logging2::core
