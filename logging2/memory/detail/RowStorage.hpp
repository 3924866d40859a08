#pragma once

#include <cstddef>
#include <memory>
#include <vector>

namespace logging2::core::detail {

/// The handle of one row.
using RowHandle = std::shared_ptr<std::vector<double>>;

class RowBlock;

struct RowBlockRelease {
    void operator()(RowBlock* block) const noexcept;
};

/// Makes rows whose reference counts and vector objects lie side by side in blocks of 63: a row
/// costs one allocation, that of its values, and every 63rd one more.
///
/// Rows may outlive their storage and be released on any thread, as those of std::make_shared;
/// making them is for one thread at a time. A block goes when the storage has turned to the next
/// one and the last of its rows is released, so a row that is kept alone keeps 3 KiB.
class RowStorage {
public:
    /// A row that holds a copy of the n values. Throws std::bad_alloc.
    RowHandle makeRow(const double* values, std::size_t n);

private:
    std::unique_ptr<RowBlock, RowBlockRelease> block; // the one that is being filled
};

} // namespace logging2::core::detail
