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

/// What MemoryStreamWriter and MemoryStreamRestrictedWriter have in common, which is all but the
/// kind of their per-group containers: Times is a sequence of double and Rows one of RowHandle,
/// both parallel, oldest first.
///
/// Group ids are indices here: a setup of N groups must have the ids 0 to N - 1. Neither the
/// group index nor the length of a row is checked (a debug build asserts the index): an index out
/// of range, or a row shorter than the widths of its group's channels add up to, is undefined
/// behaviour.
template <class Times, class Rows>
class LOGGING2_EXPORT BasicMemoryStreamWriter : public StreamWriter {
public:
    /// Appends one sample; always true. With `rollbackOnTimeRegression`, a time not later than
    /// the group's last one first takes back every sample at that time or behind it, so that the
    /// new sample replaces them; NaN times never take anything back.
    ///
    /// Allocates one row of n doubles, for every 63rd row a block for their handles, and for a
    /// writer without limit the amortised growth of its containers; copies the values once. A call
    /// that throws stores nothing, and takes nothing back unless it was the growth that failed.
    ///
    /// The samples are taken back through the virtual rollback(). An override may do whatever a
    /// caller may, also write, roll back or flush.
    bool write(std::size_t group, double time, const double* values, std::size_t n) override;

    /// Drops the first sample that is strictly later than the time and everything behind it;
    /// samples at the time itself stay. If times were written out of order, samples that were
    /// written later with earlier times are dropped as well.
    ///
    /// Linear in the number of samples that are dropped. It is linear in the number of samples that
    /// are held after a time out of order or a NaN was written, until the group is empty again, and
    /// for good once times(group) was called.
    void rollback(std::size_t group, double time) override;

    /// A MemoryDatastore that shares the stored vectors. Throws std::out_of_range for a path that
    /// no flush has stored.
    boost::any dataStore(const lang::core::ValuePath& path) const override;

    /// Always empty.
    std::optional<DataStoreInfo> dataStoreInfo() const override;

    /// Builds one store per logged path whose channel its group has; each column is allocated once
    /// at its final size, and the rows are freed as they are copied, in steps of
    /// at most 64 rows; a step also ends with the row that reaches half a MiB.
    ///
    /// A path that has a store keeps it. Where memory runs out, the stores of the groups before
    /// stay, and the group in work has lost its times: then nothing more is to be written.
    void flush() override;

    /// Does nothing: the samples become readable with flush().
    void flushIntermediate() override;

    /// Flushes unless that was done before.
    void close() override;

    /// The group's times, oldest first, for direct access. From then on a rollback by time looks at
    /// every time of the group, because the caller may have changed it.
    Times& times(std::size_t group);

    /// The group's rows, oldest first, for direct access.
    Rows& data(std::size_t group);

    /// Drops the group's last count samples, all of them where there are fewer; 0 drops nothing.
    /// Linear in the count. Pass the count as std::size_t: a plain int fits both overloads.
    void rollback(std::size_t group, std::size_t count);

    /// How many times the group holds now.
    std::size_t numSteps(std::size_t group) const;

protected:
    /// Empty containers for each group of the setup; shares the setup's block.
    BasicMemoryStreamWriter(StreamingAttributes configuration,
                            SequenceMap<Group, LoggedPathsSetupData> setup);

    /// Intended: stores that were built stay with the source, which still answers for them; the
    /// new writer starts without any. Move before the flush, or keep the source.
    BasicMemoryStreamWriter(BasicMemoryStreamWriter&& other) noexcept;

    /// Intended: both writers keep the stores that they have built.
    BasicMemoryStreamWriter& operator=(BasicMemoryStreamWriter&& other) noexcept;

    ~BasicMemoryStreamWriter() override;

private:
    friend class core::MemoryStreamRestrictedWriter;

    LOGGING2_NO_EXPORT void flushGroup(std::size_t group, const LoggedPathsSetupData& setup);

    SequenceMap<Group, LoggedPathsSetupData> groups;
    bool flushed = false;          // also if a flush has thrown
    std::vector<Times> groupTimes; // by group id
    std::vector<Rows> groupData;   // by group id
    boost::unordered_map<lang::core::ValuePath, MemoryDatastore> dataStores;
    StreamingAttributes attributes;
    std::vector<RowStorage> rowStorages; // by group id
    std::vector<TimesOrder> timesOrders; // by group id
};

} // namespace detail

} // namespace logging2::core
