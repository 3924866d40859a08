#pragma once

#include <boost/functional/hash.hpp>
#include <boost/unordered_map.hpp>

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace foundation {

/// A map that is iterated in the order of insertion and looked up by hash.
///
/// The map is a handle to a shared block of data. Copying shares the block and takes constant time.
/// Moving leaves the source empty and usable. A change through one handle is never visible through
/// another, because a handle that shares its block gets its own copy before it is changed.
///
/// Threads: handles that share a block may be read and released on different threads. No other
/// thread may copy or release a handle of the same block during an insert.
template <class Key, class Value, class Hash = boost::hash<Key>, class Equal = std::equal_to<Key>>
class SequenceMap {
public:
    /// The type of the keys, by which entries are looked up.
    using key_type = Key;
    /// The type of the values.
    using mapped_type = Value;
    /// An entry: the key (first) and its value (second).
    using value_type = std::pair<Key, Value>;
    /// Points to an entry. It is valid until the next insert through the same handle, and only as
    /// long as a handle shares the block.
    using const_iterator = const value_type*;

    /// Makes an empty map. Allocates nothing.
    SequenceMap() = default;

    /// Makes a map of the entries, in their order. If several entries have equal keys, the first is
    /// kept.
    SequenceMap(std::initializer_list<value_type> entries) {
        for (const value_type& entry : entries) {
            insert(entry.first, entry.second);
        }
    }

    /// Appends an entry, unless the map has the key already. Returns whether the entry was
    /// appended; an existing entry keeps its value.
    ///
    /// Takes amortised constant time if the block is not shared. Otherwise the time is linear in
    /// the number of entries.
    bool insert(const Key& key, const Value& value) {
        if (find(key) != end()) {
            return false;
        }
        Block& own = ownBlock();
        own.entries.emplace_back(key, value);
        try {
            // The caller's key may lie in an entry that has just moved, so the stored key is used.
            own.positions.emplace(own.entries.back().first, own.entries.size() - 1);
        } catch (...) {
            own.entries.pop_back();
            throw;
        }
        return true;
    }

    /// Returns the entry of the key, or end() if there is none. Takes constant time on average.
    const_iterator find(const Key& key) const {
        if (!block) {
            return end();
        }
        const auto position = block->positions.find(key);
        return position == block->positions.end() ? end() : begin() + position->second;
    }

    /// Returns the number of entries.
    std::size_t size() const noexcept { return block ? block->entries.size() : 0; }
    /// Whether the map has no entries.
    bool empty() const noexcept { return size() == 0; }

    /// Returns the first entry in the order of insertion, or end() if there is none.
    const_iterator begin() const noexcept { return block ? block->entries.data() : nullptr; }
    /// Returns the position after the last entry.
    const_iterator end() const noexcept { return begin() + size(); }

private:
    struct Block {
        std::vector<value_type> entries;
        boost::unordered_map<Key, std::size_t, Hash, Equal> positions;
    };

    Block& ownBlock() {
        if (!block) {
            block = std::make_shared<Block>();
        } else if (block.use_count() > 1) {
            block = std::make_shared<Block>(*block);
        }
        return *block;
    }

    std::shared_ptr<Block> block;
};

} // namespace foundation

namespace logging2::core {
using foundation::SequenceMap;
} // namespace logging2::core
