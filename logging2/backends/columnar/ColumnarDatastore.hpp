#pragma once

#include <cstddef>
#include <memory>

namespace logging2::core {

namespace detail {
class GroupView;
} // namespace detail

/// The stored data of one path: what ColumnarStreamWriter::dataStore() gives out, inside a
/// boost::any. It never changes, and keeps the samples alive. Copies share them.
struct ColumnarDatastore {
    /// The steps of the path's group.
    std::shared_ptr<const detail::GroupView> group;

    /// The path's channel: its position in the row.
    std::size_t channel = 0;
};

} // namespace logging2::core
