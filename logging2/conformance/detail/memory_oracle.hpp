#pragma once

#include <logging2/conformance/detail/setups.hpp>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// The behaviour of the memory writers in its plainest form: one list of times and one of rows per
/// group, nothing shared, nothing moved.
class MemoryOracle {
public:
    using Doubles = std::vector<double>;
    using Store = std::pair<Doubles, Doubles>;

    /// Models MemoryStreamWriter without a limit, and MemoryStreamRestrictedWriter with one.
    MemoryOracle(GroupSetup setupData, bool rollback, std::optional<std::size_t> limit)
        : setup(std::move(setupData)),
          rollbackOnTimeRegression(rollback),
          pointLimit(limit),
          times(setup.size()),
          rows(setup.size()) {}

    void write(std::size_t g, double time, const Doubles& row) {
        if (rollbackOnTimeRegression && !times[g].empty() && times[g].back() >= time) {
            rollbackToTime(g, time);
            if (!times[g].empty() && times[g].back() == time) {
                rollbackByCount(g, 1);
            }
        }
        times[g].push_back(time);
        rows[g].push_back(row);
        if (pointLimit) {
            dropOldest(times[g]);
            dropOldest(rows[g]);
        }
    }

    void rollbackToTime(std::size_t g, double time) {
        for (std::size_t i = 0; i < times[g].size(); ++i) {
            if (times[g][i] > time) {
                rollbackByCount(g, times[g].size() - i);
                return;
            }
        }
    }

    void rollbackByCount(std::size_t g, std::size_t count) {
        if (count == 0) {
            return;
        }
        if (count >= times[g].size()) {
            times[g].clear();
            rows[g].clear();
            return;
        }
        times[g].resize(times[g].size() - count);
        rows[g].resize(rows[g].size() - std::min(count, rows[g].size()));
    }

    void flush() {
        flushed = true;
        for (const auto& [group, data] : setup) {
            flushGroup(group.id(), data);
        }
    }

    void close() {
        if (!flushed) {
            flush();
        }
    }

    /// Takes everything but the stores from the other oracle, as a move of the writer does.
    void takeOver(MemoryOracle& other) {
        setup = std::exchange(other.setup, {});
        rollbackOnTimeRegression = other.rollbackOnTimeRegression;
        pointLimit = other.pointLimit;
        flushed = other.flushed;
        times = std::exchange(other.times, {});
        rows = std::exchange(other.rows, {});
    }

    GroupSetup setup;
    bool rollbackOnTimeRegression;
    std::optional<std::size_t> pointLimit;
    bool flushed = false;
    std::vector<Doubles> times;
    std::vector<std::vector<Doubles>> rows;
    std::map<ValuePath, Store> stores;

private:
    template <class Sequence>
    void dropOldest(Sequence& sequence) const {
        while (sequence.size() > *pointLimit) {
            sequence.erase(sequence.begin());
        }
    }

    void flushGroup(std::size_t g, const LoggedPathsSetupData& data) {
        const Doubles flushedTimes = times[g];
        if (!pointLimit) {
            times[g].clear();
        }
        std::size_t offset = 0;
        for (const LoggedChannel& channel : data.coreIds()) {
            Doubles column;
            for (std::size_t s = 0; s < std::min(flushedTimes.size(), rows[g].size()); ++s) {
                for (std::size_t e = 0; e < channel.width; ++e) {
                    column.push_back(rows[g][s][offset + e]);
                }
            }
            offset += channel.width;
            for (const LoggedPath& logged : data.paths()) {
                if (logged.id == channel.id) {
                    stores.emplace(logged.path, Store{flushedTimes, column});
                }
            }
        }
        if (!data.coreIds().empty()) {
            const std::size_t taken = std::min(flushedTimes.size(), rows[g].size());
            rows[g].erase(rows[g].begin(), rows[g].begin() + static_cast<std::ptrdiff_t>(taken));
        }
    }
};

} // namespace logging2::core::test
