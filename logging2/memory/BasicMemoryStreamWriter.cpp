#include <logging2/memory/MemoryStreamRestrictedWriter.hpp>
#include <logging2/memory/MemoryStreamWriter.hpp>
#include <logging2/memory/detail/columns_of_rows.hpp>
#include <logging2/stream/detail/store_of.hpp>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <utility>

namespace logging2::core::detail {
namespace {

using lang::core::ValuePath;

template <class Sequence>
void erase_newest(Sequence& sequence, std::size_t count) {
    using Offset = typename Sequence::difference_type;
    sequence.erase(sequence.end() - static_cast<Offset>(count), sequence.end());
}

} // namespace

template <class Times, class Rows>
BasicMemoryStreamWriter<Times, Rows>::BasicMemoryStreamWriter(
    StreamingAttributes configuration, SequenceMap<Group, LoggedPathsSetupData> setup)
    : groups(std::move(setup)),
      groupTimes(groups.size()),
      groupData(groups.size()),
      attributes(std::move(configuration)),
      rowStorages(groups.size()),
      timesOrders(groups.size()) {}

template <class Times, class Rows>
BasicMemoryStreamWriter<Times, Rows>::BasicMemoryStreamWriter(
    BasicMemoryStreamWriter&& other) noexcept
    : groups(std::move(other.groups)),
      flushed(other.flushed),
      groupTimes(std::move(other.groupTimes)),
      groupData(std::move(other.groupData)),
      attributes(std::move(other.attributes)),
      rowStorages(std::move(other.rowStorages)),
      timesOrders(std::move(other.timesOrders)) {}

template <class Times, class Rows>
BasicMemoryStreamWriter<Times, Rows>&
BasicMemoryStreamWriter<Times, Rows>::operator=(BasicMemoryStreamWriter&& other) noexcept {
    if (this == &other) {
        return *this;
    }
    groups = std::move(other.groups);
    flushed = other.flushed;
    groupTimes = std::move(other.groupTimes);
    groupData = std::move(other.groupData);
    attributes = std::move(other.attributes);
    rowStorages = std::move(other.rowStorages);
    timesOrders = std::move(other.timesOrders);
    return *this;
}

template <class Times, class Rows>
BasicMemoryStreamWriter<Times, Rows>::~BasicMemoryStreamWriter() = default;

template <class Times, class Rows>
bool BasicMemoryStreamWriter<Times, Rows>::write(std::size_t group, double time,
                                                 const double* values, std::size_t n) {
    assert(group < groupTimes.size());
    // The slot and the row are allocated before samples are undone, so that nothing is lost if
    // memory runs out. The values may also lie in a row that the rollback releases.
    rowStorages[group].makeRoom();
    std::vector<double> row(values, values + n);
    if (attributes.rollbackOnTimeRegression) {
        undoFrom(group, time);
    }
    Times& times = groupTimes[group];
    timesOrders[group].expect(times, time);
    times.push_back(time);
    try {
        groupData[group].push_back(rowStorages[group].makeRow(std::move(row)));
    } catch (...) {
        times.pop_back();
        throw;
    }
    return true;
}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::undoFrom(std::size_t group, double time) {
    if (groupTimes[group].empty() || !(groupTimes[group].back() >= time)) {
        return;
    }
    rollback(group, time);
    // An override may have replaced the containers, and used the free slot.
    if (!groupTimes[group].empty() && groupTimes[group].back() == time) {
        rollback(group, std::size_t{1});
    }
    rowStorages[group].makeRoom();
}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::rollback(std::size_t group, double time) {
    assert(group < groupTimes.size());
    const Times& times = groupTimes[group];
    const auto isLater = [time](double held) { return held > time; };
    const auto firstLater = timesOrders[group].isAscending()
                                ? std::find_if_not(times.rbegin(), times.rend(), isLater).base()
                                : std::find_if(times.begin(), times.end(), isLater);
    rollback(group, static_cast<std::size_t>(times.end() - firstLater));
}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::rollback(std::size_t group, std::size_t count) {
    assert(group < groupTimes.size());
    Times& times = groupTimes[group];
    Rows& rows = groupData[group];
    if (count == 0) {
        // Without this, a group without channels would lose the rows that it keeps after a flush.
        return;
    }
    if (count >= times.size()) {
        times.clear();
        rows.clear();
    } else {
        erase_newest(times, count);
        // A flushed ring holds times whose rows are gone. Only times written after the flush have a
        // row.
        erase_newest(rows, std::min(count, rows.size()));
    }
    rowStorages[group].takeBack();
}

template <class Times, class Rows>
boost::any BasicMemoryStreamWriter<Times, Rows>::dataStore(const ValuePath& path) const {
    return store_of(dataStores, path);
}

template <class Times, class Rows>
std::optional<DataStoreInfo> BasicMemoryStreamWriter<Times, Rows>::dataStoreInfo() const {
    return std::nullopt;
}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::flush() {
    flushed = true;
    // The columns of all groups are made before the first row is freed. The rows of groups that are
    // logged together lie between each other, and the C library would merge the freed ones anew for
    // each large allocation. If memory does not suffice, each group makes its own columns, so that
    // the groups before the one that fails keep their stores.
    std::vector<std::vector<Column>> columns = make_all_columns(groups, groupTimes);
    columns.resize(groups.size());
    auto next = columns.begin();
    for (const auto& [group, setup] : groups) {
        flushGroup(group.id(), setup, std::move(*next++));
    }
}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::flushGroup(std::size_t group,
                                                      const LoggedPathsSetupData& setup,
                                                      std::vector<RowHandle> columns) {
    assert(group < groupTimes.size());
    const std::vector<LoggedChannel>& channels = setup.coreIds();
    const Column times = take_times(groupTimes[group]);
    if (channels.empty()) {
        return;
    }
    rowStorages[group].clear();
    if (columns.empty()) {
        columns = make_columns(channels, times->size());
    }
    take_rows(groupData[group], times->size(), channels, columns);
    const auto paths = paths_by_channel(setup.paths());
    for (std::size_t k = 0; k < channels.size(); ++k) {
        const auto showing = paths.find(channels[k].id());
        if (showing == paths.end()) {
            continue;
        }
        for (const ValuePath& path : showing->second) {
            dataStores.emplace(path, MemoryDatastore{times, columns[k]});
        }
    }
}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::flushIntermediate() {}

template <class Times, class Rows>
void BasicMemoryStreamWriter<Times, Rows>::close() {
    if (!flushed) {
        flush();
    }
}

template <class Times, class Rows>
Times& BasicMemoryStreamWriter<Times, Rows>::times(std::size_t group) {
    assert(group < groupTimes.size());
    timesOrders[group].handOut();
    return groupTimes[group];
}

template <class Times, class Rows>
Rows& BasicMemoryStreamWriter<Times, Rows>::data(std::size_t group) {
    assert(group < groupTimes.size());
    return groupData[group];
}

template <class Times, class Rows>
std::size_t BasicMemoryStreamWriter<Times, Rows>::numSteps(std::size_t group) const {
    assert(group < groupTimes.size());
    return groupTimes[group].size();
}

template class BasicMemoryStreamWriter<std::vector<double>, std::deque<RowHandle>>;
template class BasicMemoryStreamWriter<boost::circular_buffer<double>,
                                       boost::circular_buffer<RowHandle>>;

} // namespace logging2::core::detail
