#pragma once

#include <logging2/export.hpp>
#include <logging2/host/foundation/SequenceMap.hpp>
#include <logging2/host/kernel/Group.hpp>
#include <logging2/host/kernel/LoggedPathsSetupData.hpp>
#include <logging2/host/lang/ValuePath.hpp>
#include <logging2/memory/MemoryDatastore.hpp>
#include <logging2/memory/detail/RowStorage.hpp>
#include <logging2/memory/detail/TimesOrder.hpp>
#include <logging2/stream/StreamWriter.hpp>
#include <logging2/stream/StreamingAttributes.hpp>

#include <boost/any.hpp>
#include <boost/unordered_map.hpp>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace logging2::core {

class MemoryStreamRestrictedWriter;

namespace detail {

/// The common part of MemoryStreamWriter and MemoryStreamRestrictedWriter, which differ only in
/// their per-group containers.
///
/// `Times` is a sequence of double and `Rows` a sequence of RowHandle. The two sequences of a group
/// are parallel and hold the oldest element first.
///
/// Group ids are used as indices: a setup of N groups must have the ids 0 to N - 1. Neither the
/// group index nor the length of a row is checked, except that a build with assertions checks the
/// index. An index out of range, and a row that is shorter than the sum of the widths of its
/// group's channels, are undefined behaviour.
template <class Times, class Rows>
class LOGGING2_EXPORT BasicMemoryStreamWriter : public StreamWriter {
public:
    /// Appends one sample and returns true; it never returns false.
    ///
    /// If `rollbackOnTimeRegression` is set and the time is not later than the group's last time,
    /// the samples from that time on are first undone, so that the new sample replaces them. This
    /// calls the virtual rollback() with the time, and then discards the last sample if its time is
    /// equal. A NaN on either side undoes nothing. An override of rollback() may do what any caller
    /// may do, including write, rollback, flush and the assignment of another writer of the same
    /// groups.
    ///
    /// Cost: the values are copied once. One row of n doubles is allocated, and one block of
    /// handles per 63 rows. The containers of a writer without a limit also grow, in amortised
    /// constant time.
    ///
    /// Throws std::bad_alloc or std::length_error if memory runs out. The sample is not stored
    /// then. Samples may have been undone, but only if the growth of the containers failed.
    bool write(std::size_t group, double time, const double* values, std::size_t n) override;

    /// Discards the group's first sample that is strictly later than the time, and every sample
    /// that was written after it. Samples at exactly the time stay. If times were written out of
    /// order, samples with earlier times that follow the first later one are discarded as well.
    ///
    /// The cost is linear in the number of discarded samples. It is linear in the number of samples
    /// that the group holds in two cases: after a time out of order or a NaN was written, until the
    /// group is empty again, and always after times(group) was called.
    void rollback(std::size_t group, double time) override;

    /// Returns a MemoryDatastore that shares the stored vectors. Throws std::out_of_range if no
    /// flush has stored the path.
    boost::any dataStore(const lang::core::ValuePath& path) const override;

    /// Returns the empty optional.
    std::optional<DataStoreInfo> dataStoreInfo() const override;

    /// Builds one store for each logged path whose channel is one of its group's coreIds(). A path
    /// that already has a store keeps it.
    ///
    /// Each column is allocated once at its final size, before the first row is freed. The rows are
    /// freed while they are copied, in tiles of at most 64 rows; a tile also ends with the row that
    /// reaches half a MiB.
    ///
    /// Throws std::bad_alloc or std::length_error if memory runs out. The stores of the groups that
    /// were finished stay, but the group in progress may have lost its times and rows. Do not write
    /// any more samples then.
    void flush() override;

    /// Does nothing. The samples become readable with flush().
    void flushIntermediate() override;

    /// Calls the virtual flush(), unless a flush was started before. A flush that threw counts as
    /// well.
    void close() override;

    /// Returns the group's times, oldest first, for direct access. Afterwards every rollback of the
    /// group by time examines all of its times, because the caller may have changed them.
    Times& times(std::size_t group);

    /// Returns the group's rows, oldest first, for direct access.
    Rows& data(std::size_t group);

    /// Discards the group's last `count` samples, or all of them if there are fewer. A count of 0
    /// discards nothing. The cost is linear in the count. Pass the count as std::size_t, because an
    /// int is ambiguous between the two overloads.
    void rollback(std::size_t group, std::size_t count);

    /// Returns the number of times that the group holds now.
    std::size_t numSteps(std::size_t group) const;

protected:
    /// Makes empty containers for each group of the setup. The writer shares the data of the setup
    /// with the caller's handle.
    BasicMemoryStreamWriter(StreamingAttributes configuration,
                            SequenceMap<Group, LoggedPathsSetupData> setup);

    /// Takes over the samples. Intended: the stores that were built stay with the source, whose
    /// dataStore() still returns them, and the new writer has none. Move the writer before the
    /// flush, or keep the source.
    BasicMemoryStreamWriter(BasicMemoryStreamWriter&& other) noexcept;

    /// Takes over the samples. Intended: each of the two writers keeps the stores that it has
    /// built.
    BasicMemoryStreamWriter& operator=(BasicMemoryStreamWriter&& other) noexcept;

    ~BasicMemoryStreamWriter() override;

private:
    friend class core::MemoryStreamRestrictedWriter;

    LOGGING2_NO_EXPORT void undoFrom(std::size_t group, double time);
    LOGGING2_NO_EXPORT void flushGroup(std::size_t group, const LoggedPathsSetupData& setup,
                                       std::vector<RowHandle> columns);

    SequenceMap<Group, LoggedPathsSetupData> groups;
    bool flushed = false;          // set when a flush starts, so also if it throws
    std::vector<Times> groupTimes; // by group id
    std::vector<Rows> groupData;   // by group id
    boost::unordered_map<lang::core::ValuePath, MemoryDatastore> dataStores;
    StreamingAttributes attributes;
    std::vector<RowStorage> rowStorages; // by group id
    std::vector<TimesOrder> timesOrders; // by group id
};

} // namespace detail

} // namespace logging2::core
