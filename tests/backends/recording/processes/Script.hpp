#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <random>
#include <vector>

namespace logging2::core::test {

/// The groups of a script by their ids.
constexpr std::array<std::size_t, 3> scriptGroups{0, 3, 70000};

/// What a host does with its writer.
struct Operation {
    enum class Kind { write, rollback, flushIntermediate };
    Kind kind = Kind::write;
    std::size_t group = 0; ///< position in scriptGroups
    double time = 0;
};

/// Operations that follow from a seed: mostly writes, whose times sometimes repeat, go backwards or
/// are NaN, and rollbacks, some of which go far back.
class Script {
public:
    explicit Script(unsigned seed) : random(seed) {}

    Operation next() {
        const unsigned draw = below(1000);
        const std::size_t group = below(scriptGroups.size());
        if (draw < 4) {
            return {Operation::Kind::flushIntermediate, 0, 0};
        }
        if (draw < 24) {
            return {Operation::Kind::rollback, group, timeToReturnTo(group)};
        }
        return {Operation::Kind::write, group, nextTime(group)};
    }

private:
    unsigned below(std::size_t limit) { return static_cast<unsigned>(random() % limit); }

    double timeToReturnTo(std::size_t group) {
        const unsigned steps = below(10) == 0 ? below(2000) : below(12);
        clocks[group] = std::max(0.0, clocks[group] - steps);
        return clocks[group];
    }

    double nextTime(std::size_t group) {
        const unsigned draw = below(500);
        if (draw == 0) {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (draw == 1) {
            clocks[group] = std::max(0.0, clocks[group] - below(5));
        } else if (draw > 4) {
            clocks[group] += 1;
        }
        return clocks[group];
    }

    std::mt19937 random;
    std::array<double, scriptGroups.size()> clocks{};
};

/// A sample of the model. Its values follow from its number, which no other sample has.
struct ModelSample {
    double time;
    double number;
};

/// What the operations make of the groups, as plainly as possible.
class Model {
public:
    explicit Model(bool discardsOnRegression) : obeysRegression(discardsOnRegression) {}

    /// What the operation takes away, also a write where time goes backwards.
    void discard(const Operation& operation) {
        std::vector<ModelSample>& samples = groups[operation.group];
        const bool regresses = operation.kind == Operation::Kind::write && obeysRegression &&
                               !samples.empty() && samples.back().time >= operation.time;
        if (regresses || operation.kind == Operation::Kind::rollback) {
            rollback(samples, operation.time);
        }
        if (regresses && !samples.empty() && samples.back().time == operation.time) {
            samples.pop_back();
        }
    }

    /// What the operation adds; the number is that of a written sample.
    void append(const Operation& operation, double number) {
        if (operation.kind == Operation::Kind::write) {
            groups[operation.group].push_back({operation.time, number});
        }
    }

    const std::vector<ModelSample>& operator[](std::size_t group) const { return groups[group]; }

private:
    static void rollback(std::vector<ModelSample>& samples, double time) {
        std::size_t kept = 0;
        while (kept < samples.size() && !(samples[kept].time > time)) {
            ++kept;
        }
        samples.resize(kept);
    }

    bool obeysRegression;
    std::array<std::vector<ModelSample>, scriptGroups.size()> groups;
};

} // namespace logging2::core::test
