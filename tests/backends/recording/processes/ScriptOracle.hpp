#pragma once

#include <tests/backends/recording/processes/Script.hpp>
#include <tests/backends/recording/processes/scripted_recordings.hpp>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace logging2::core::test {

/// A number for each group.
using Counts = std::array<std::size_t, scriptGroups.size()>;

/// Repeats what a host did and looks for its groups' contents among the states that they had.
///
/// Operations are counted from 1 on. A state belongs to the last operation after which the group
/// had it; the state between the two halves of a write that discards counts as its operation's.
class ScriptOracle {
public:
    ScriptOracle(unsigned scriptSeed, bool obeysRegression, std::size_t begunCount,
                 std::size_t returnedCount)
        : seed(scriptSeed),
          begun(begunCount),
          returned(returnedCount),
          model(obeysRegression) {}

    /// What the group held after this operation is stored; nothing earlier may be found.
    void expectStored(std::size_t group, std::size_t operation) {
        leastOperation[group] = std::max(leastOperation[group], operation);
    }

    void follow(const Contents& contents) {
        compare(contents, 0);
        Script script(seed);
        for (std::size_t i = 1; i <= begun; ++i) {
            const Operation operation = script.next();
            model.discard(operation);
            compare(contents, i);
            if (i <= returned) {
                noteStored(operation, i);
            }
            model.append(operation, static_cast<double>(i));
            compare(contents, i);
        }
    }

    /// The operation to which the group's content belongs, if it had it.
    std::optional<std::size_t> operationOf(std::size_t group) const { return found[group]; }

    /// Empty if every content is a state of its group that may be found.
    std::string fault(const Contents& contents) const {
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            if (!found[g] || *found[g] < leastOperation[g]) {
                return "group " + std::to_string(g) + " has " + std::to_string(contents[g].size()) +
                       " samples, as it had " +
                       (found[g] ? "after operation " + std::to_string(*found[g]) : "never") +
                       "; operation " + std::to_string(leastOperation[g]) + " of " +
                       std::to_string(returned) + " was stored for certain";
            }
        }
        return {};
    }

    /// How often samples were discarded for certain that readers had seen.
    std::uint64_t leastRevision() const { return revisions; }

    /// How many samples more than are found were written.
    std::size_t missing(const Contents& contents) const {
        std::size_t count = 0;
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            count += model[g].size() - std::min(model[g].size(), contents[g].size());
        }
        return count;
    }

private:
    void compare(const Contents& contents, std::size_t operation) {
        for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
            if (is_equal(model[g], contents[g])) {
                found[g] = operation;
            }
        }
    }

    /// flushIntermediate stores everything; what discards samples that it has shown is stored, too.
    void noteStored(const Operation& operation, std::size_t count) {
        if (operation.kind == Operation::Kind::flushIntermediate) {
            for (std::size_t g = 0; g < scriptGroups.size(); ++g) {
                shown[g] = model[g].size();
                expectStored(g, count);
            }
        } else if (const std::size_t g = operation.group; model[g].size() < shown[g]) {
            shown[g] = model[g].size();
            expectStored(g, count);
            ++revisions;
        }
    }

    unsigned seed;
    std::size_t begun;
    std::size_t returned;
    Model model;
    Counts shown{};
    Counts leastOperation{};
    std::array<std::optional<std::size_t>, scriptGroups.size()> found;
    std::uint64_t revisions = 0;
};

} // namespace logging2::core::test
