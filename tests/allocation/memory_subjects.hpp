#pragma once

#include <logging2/conformance/detail/memory_oracle.hpp>
#include <tests/allocation/subjects.hpp>
#include <tests/memory/memory_writers.hpp>

#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace logging2::core::test {

/// A memory writer and the oracle of its samples.
template <class Writer>
struct MemorySubject {
    static constexpr bool isRestricted = std::is_same_v<Writer, MemoryStreamRestrictedWriter>;

    explicit MemorySubject(bool rollbackOnTimeRegression = false)
        : writer(std::make_unique<Writer>(fullAttributes(rollbackOnTimeRegression), twoGroups())),
          oracle(twoGroups(), rollbackOnTimeRegression,
                 isRestricted ? std::optional<std::size_t>(64) : std::nullopt) {}

    /// Writes to both, to the oracle first.
    void write(std::size_t group, double time) {
        const std::vector<double> row = rowAt(group, time);
        oracle.write(group, time, row);
        writer->write(group, time, row.data(), row.size());
    }

    void writeUpTo(std::size_t group, int count) {
        for (int i = 0; i < count; ++i) {
            write(group, i);
        }
    }

    /// Expects the writer to hold the same samples as the oracle.
    void expectHeld() const {
        for (std::size_t group = 0; group < 2; ++group) {
            const auto& held = writer->times(group);
            EXPECT_EQ(std::vector<double>(held.begin(), held.end()), oracle.times[group]);
            std::vector<std::vector<double>> rows;
            for (const auto& row : writer->data(group)) {
                rows.push_back(*row);
            }
            EXPECT_EQ(rows, oracle.rows[group]);
        }
    }

    /// Expects the store of the path to equal the oracle's; returns false if there is no store.
    bool hasStore(const ValuePath& path) const {
        try {
            const auto store = boost::any_cast<MemoryDatastore>(writer->dataStore(path));
            EXPECT_EQ(*store.times, oracle.stores.at(path).first);
            EXPECT_EQ(*store.values, oracle.stores.at(path).second);
            return true;
        } catch (const std::out_of_range&) {
            return false;
        }
    }

    /// Flushes both and expects every store.
    void expectStoredByFlush() {
        oracle.flush();
        writer->flush();
        for (const auto& entry : oracle.stores) {
            EXPECT_TRUE(hasStore(entry.first)) << entry.first;
        }
    }

    std::unique_ptr<Writer> writer;
    MemoryOracle oracle;
};

/// Tests that both memory writers must pass.
template <class Writer>
class MemoryWritersSweepTest : public ::testing::Test {
protected:
    static std::string named(const std::string& operation) {
        return WriterNames::GetName<Writer>(0) + ": " + operation;
    }
};

} // namespace logging2::core::test
