#pragma once

#include <logging2/columns/layout.hpp>
#include <logging2/columns/storage.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>

#include <boost/circular_buffer.hpp>

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

// How the memory writers make columns of their rows.

namespace logging2::core::detail {

using Column = std::shared_ptr<std::vector<double>>;

inline Column take_times(std::vector<double>& times) {
    return std::make_shared<std::vector<double>>(std::move(times));
}

// Intended: the times stay in the ring, so that numSteps() still returns the number of flushed
// steps.
inline Column take_times(const boost::circular_buffer<double>& times) {
    return std::make_shared<std::vector<double>>(times.begin(), times.end());
}

inline std::vector<Column> make_columns(const std::vector<LoggedChannel>& channels,
                                        std::size_t rowCount) {
    std::vector<Column> columns;
    columns.reserve(channels.size());
    for (const LoggedChannel& channel : channels) {
        columns.push_back(std::make_shared<std::vector<double>>());
        reserve_large(*columns.back(), rowCount * channel.width);
    }
    return columns;
}

/// Makes the columns of every group, in the order of the groups. Returns nothing if memory does not
/// suffice for all of them.
template <class Groups, class GroupTimes>
std::vector<std::vector<Column>> make_all_columns(const Groups& groups,
                                                  const GroupTimes& groupTimes) {
    std::vector<std::vector<Column>> columns;
    try {
        columns.reserve(groups.size());
        for (const auto& [group, setup] : groups) {
            assert(group.id() < groupTimes.size());
            columns.push_back(make_columns(setup.coreIds(), groupTimes[group.id()].size()));
        }
    } catch (const std::exception&) {
        columns.clear();
    }
    return columns;
}

inline ChannelWidths widths_of(const std::vector<LoggedChannel>& channels) {
    ChannelWidths widths;
    widths.reserve(channels.size());
    for (const LoggedChannel& channel : channels) {
        widths.push_back(channel.width);
    }
    return widths;
}

/// Appends the first tile of rows, which has at most rowCount rows, to the columns. Returns the
/// number of rows that were appended.
template <class Rows>
std::size_t append_first_tile(const Rows& rows, std::size_t rowCount,
                              const std::vector<Slice>& slices) {
    std::array<const double*, tileRowCount> tile; // NOLINT(*-member-init)
    std::size_t count = 0;
    std::size_t byteCount = 0;
    for (auto row = rows.begin();
         count < std::min(rowCount, tileRowCount) && byteCount < tileByteCount; ++row) {
        tile[count++] = (*row)->data();
        byteCount += (*row)->size() * sizeof(double);
    }
    append_tile(tile.data(), count, slices);
    return count;
}

/// Takes up to rowCount rows from the front of `rows` and distributes their values over the
/// columns, one tile at a time. There are fewer rows than times only if the caller changed one of
/// the two directly or flushed a ring twice.
template <class Rows>
void take_rows(Rows& rows, std::size_t rowCount, const std::vector<LoggedChannel>& channels,
               const std::vector<Column>& columns) {
    const std::vector<Slice> slices =
        slices_of(widths_of(channels), 0, std::numeric_limits<std::size_t>::max(),
                  [&columns](std::size_t k) { return columns[k].get(); });
    for (std::size_t left = std::min(rowCount, rows.size()); left > 0;) {
        const std::size_t count = append_first_tile(rows, left, slices);
        for (std::size_t spent = 0; spent < count; ++spent) {
            rows.pop_front();
        }
        left -= count;
    }
}

/// Returns the paths that show each channel, by channel number.
inline std::map<std::size_t, std::set<lang::core::ValuePath>>
paths_by_channel(const std::vector<LoggedPath>& paths) {
    std::map<std::size_t, std::set<lang::core::ValuePath>> result;
    for (const LoggedPath& logged : paths) {
        result[logged.id()].insert(logged.path);
    }
    return result;
}

} // namespace logging2::core::detail
