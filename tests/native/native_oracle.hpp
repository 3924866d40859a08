#pragma once

#include <tests/support/setups.hpp>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace logging2::core::test {

/// The behaviour of the file-backed writer in its plainest form. It keeps the doubles of each file,
/// by the file's name without the unique stem.
class NativeOracle {
public:
    using Doubles = std::vector<double>;

    /// When the thread takes a batch: at once, or only after it was asked to stop.
    enum class Thread { takesAtOnce, takesAtStop };

    NativeOracle(const GroupSetup& setup, std::map<std::size_t, std::size_t> capacities,
                 Thread behaviour)
        : capacityOf(std::move(capacities)),
          thread(behaviour) {
        std::map<ValuePath, std::pair<std::size_t, std::size_t>> channelOf;
        for (const auto& [group, data] : setup) {
            groups[group.id()].channels = data.coreIds();
            for (const LoggedPath& logged : data.paths()) {
                channelOf.emplace(logged.path, std::pair(group.id(), logged.id()));
            }
        }
        for (const auto& [path, place] : channelOf) {
            valuesFileOf.emplace(place.second, "values_" + std::to_string(place.first) + "_" +
                                                   std::to_string(place.second));
        }
    }

    void write(std::size_t group, double time, const Doubles& row) {
        GroupState& state = groups.at(group);
        if (!state.width) {
            state.width = row.size();
        }
        state.buffer.push_back(time);
        state.buffer.insert(state.buffer.end(), row.begin(), row.end());
        if (++state.rowCount >= capacityOf.at(group)) {
            slot = std::pair(group, std::exchange(state.buffer, {}));
            state.rowCount = 0;
            if (thread == Thread::takesAtOnce) {
                takeSlot();
            }
        }
    }

    void flushIntermediate() {
        for (auto& [group, state] : groups) {
            if (state.rowCount != 0) {
                slot.reset();
                append(group, std::exchange(state.buffer, {}));
            }
        }
    }

    void clearBuffer() {
        slot.reset();
        for (auto& entry : groups) {
            entry.second.buffer.clear();
            entry.second.rowCount = 0;
        }
    }

    /// Makes a thread that took nothing so far take the waiting batch and, from now on, each batch
    /// at once.
    void startTaking() {
        thread = Thread::takesAtOnce;
        takeSlot();
    }

    void flush() {
        takeSlot();
        flushIntermediate();
    }

    std::map<std::string, Doubles> files;

private:
    struct GroupState {
        std::vector<LoggedChannel> channels;
        std::optional<std::size_t> width;
        Doubles buffer;
        std::size_t rowCount = 0;
    };

    void takeSlot() {
        if (slot) {
            append(slot->first, slot->second);
            slot.reset();
        }
    }

    void append(std::size_t group, const Doubles& rows) {
        const GroupState& state = groups.at(group);
        Doubles& times = files["times_" + std::to_string(group)];
        const std::size_t rowLength = 1 + state.width.value_or(0);
        for (std::size_t i = 0; i < rows.size(); i += rowLength) {
            times.push_back(rows[i]);
        }
        std::size_t offset = 1;
        for (const LoggedChannel& channel : state.channels) {
            appendChannel(channel, offset, rows, rowLength);
            offset += channel.width;
        }
    }

    void appendChannel(const LoggedChannel& channel, std::size_t offset, const Doubles& rows,
                       std::size_t rowLength) {
        const auto name = valuesFileOf.find(channel.id());
        if (name == valuesFileOf.end()) {
            return;
        }
        Doubles& values = files[name->second];
        for (std::size_t row = 0; row < rows.size(); row += rowLength) {
            const std::size_t end = std::min(rows.size(), row + rowLength);
            for (std::size_t e = 0; e < channel.width && row + offset + e < end; ++e) {
                values.push_back(rows[row + offset + e]);
            }
        }
    }

    std::map<std::size_t, GroupState> groups;
    std::map<std::size_t, std::string> valuesFileOf;
    std::map<std::size_t, std::size_t> capacityOf;
    Thread thread;
    std::optional<std::pair<std::size_t, Doubles>> slot;
};

} // namespace logging2::core::test
