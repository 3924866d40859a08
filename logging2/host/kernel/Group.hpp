#pragma once

#include <boost/functional/hash.hpp>

#include <cstddef>

namespace logging2::core {

/// The key of a logging group. A group is a set of channels that are logged together, step by step.
class Group {
public:
    /// Makes the key of the group with this id.
    Group(std::size_t id) noexcept : groupId(id) {}

    /// Returns the id, which `write` and `rollback` take as their `group` argument.
    std::size_t id() const noexcept { return groupId; }

    /// Whether both keys denote the same group.
    friend bool operator==(Group a, Group b) noexcept { return a.groupId == b.groupId; }
    /// Whether the keys denote different groups.
    friend bool operator!=(Group a, Group b) noexcept { return !(a == b); }
    /// Returns a hash of the key. Equal keys have equal hashes.
    friend std::size_t hash_value(Group group) { return boost::hash<std::size_t>()(group.groupId); }

private:
    std::size_t groupId;
};

} // namespace logging2::core
