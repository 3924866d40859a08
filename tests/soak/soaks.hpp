#pragma once

#include <tests/soak/ResidentSize.hpp>

#include <cstddef>

namespace logging2::core::test {

/// What a soak found. Rows that were written are right, wrong, or lost.
struct Findings {
    explicit Findings(std::size_t rows) : rowCount(rows), resident(rows) {}

    std::size_t rowCount;
    std::size_t right = 0;
    std::size_t wrong = 0;
    bool mayLose = false; ///< the run does nothing against batches that are replaced
    ResidentSize resident;

    std::size_t lost() const { return rowCount - right - wrong; }
    bool areGood() const {
        return wrong == 0 && (mayLose || lost() == 0) && right > 0 && resident.isFlat();
    }
};

/// A hundred file-backed writers one after the other, whose rows the caller appends before a
/// buffer fills; all read through the reader.
Findings soak_native_chain(std::size_t rowCount);

/// One file-backed writer, whose thread appends full buffers of 32,768 rows; the host waits before
/// it fills another until the files hold the one before. The files are read in blocks.
Findings soak_native_small_buffers(std::size_t rowCount);

/// The same with buffers of which the run fills two dozen, for a hundred million rows some 45 MB
/// each.
Findings soak_native_large_buffers(std::size_t rowCount);

/// Small buffers without waiting: batches are replaced where the thread is slower than the host.
Findings soak_native_unpaced(std::size_t rowCount);

/// One restricted writer; the rings are looked through whenever all of their rows are new, and the
/// last ones are read through the reader.
Findings soak_restricted(std::size_t rowCount);

} // namespace logging2::core::test
