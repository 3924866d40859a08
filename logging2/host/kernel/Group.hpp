#pragma once

#include <boost/functional/hash.hpp>

#include <cstddef>

namespace logging2::core {

/// The key of a logging group: the channels that are logged together, step by step.
class Group {
public:
    /// The key of the group of this id.
    Group(std::size_t id) noexcept : groupId(id) {}

    /// What `write` and `rollback` take as their `group` argument.
    std::size_t id() const noexcept { return groupId; }

    /// Whether both are keys of one group.
    friend bool operator==(Group a, Group b) noexcept { return a.groupId == b.groupId; }
    /// The opposite.
    friend bool operator!=(Group a, Group b) noexcept { return !(a == b); }
    /// Equal keys have equal hashes.
    friend std::size_t hash_value(Group group) { return boost::hash<std::size_t>()(group.groupId); }

private:
    std::size_t groupId;
};

} // namespace logging2::core
