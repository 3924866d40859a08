#pragma once

#include <tests/soak/ResidentSize.hpp>

#include <cstddef>

namespace logging2::core::test {

/// The result of a soak. Written rows are right, wrong or lost.
struct Findings {
    explicit Findings(std::size_t rows) : rowCount(rows), resident(rows) {}

    std::size_t rowCount;
    std::size_t right = 0;
    std::size_t wrong = 0;
    bool mayLose = false; ///< the run does not prevent the replacement of batches
    ResidentSize resident;

    std::size_t lost() const { return rowCount - right - wrong; }
    bool areGood() const {
        return wrong == 0 && (mayLose || lost() == 0) && right > 0 && resident.isFlat();
    }
};

/// A hundred file-backed writers one after the other. The caller appends the rows before a buffer
/// fills, and all rows are read through the reader.
Findings soak_native_chain(std::size_t rowCount);

/// One file-backed writer, whose thread appends full buffers of 32,768 rows. Before the host fills
/// another buffer, it waits until the files hold the previous one. The files are read in blocks.
Findings soak_native_small_buffers(std::size_t rowCount);

/// Likewise with buffers of which the run fills two dozen; for a hundred million rows, a buffer has
/// about 45 MB.
Findings soak_native_large_buffers(std::size_t rowCount);

/// Small buffers without waiting: batches are replaced if the thread is slower than the host.
Findings soak_native_unpaced(std::size_t rowCount);

/// One recording, which is read in pieces at its end.
Findings soak_recording(std::size_t rowCount);

/// One restricted writer. The rings are checked whenever all of their rows are new, and the last
/// rows are read through the reader.
Findings soak_restricted(std::size_t rowCount);

} // namespace logging2::core::test
